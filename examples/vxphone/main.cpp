#include "logpane.h"
#include "mainwindow.h"

#include <common/logger/logger.h>
#include <common/singleapp/qtsingleapplication.h>

#include <QCommandLineParser>
#include <QDir>
#include <QStandardPaths>

namespace vxphone
{

namespace
{

struct Options
{
    QString address;
    QString dataFolder;
};

Options ReadOptions()
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("A miniature softphone window. It dials nothing."));
    parser.addHelpOption();
    const QCommandLineOption callTo(QStringLiteral("callto"),
                                    QStringLiteral("An address or link to call, such as tel:+74951234567."),
                                    QStringLiteral("URL"));
    const QCommandLineOption data(QStringLiteral("data"),
                                  QStringLiteral("Where contacts and files are kept."),
                                  QStringLiteral("FOLDER"));
    parser.addOptions({callTo, data});
    parser.process(*QCoreApplication::instance());
    QString folder = parser.value(data);
    if (folder.isEmpty()) {
        folder = QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);
    }
    return {parser.value(callTo), folder};
}

void ConfigureLog(const QString& dataFolder)
{
    using namespace common::logger;
    constexpr std::size_t maxFileSize = 1024 * 1024;
    constexpr int maxBackups = 2;
    GetLog4cpp()->Configure(Info, RollingFile, PatternLayout, QString(), QStringLiteral("qt"), QString(),
                            QDir(dataFolder).filePath(QStringLiteral("vxphone.log")), QString(), maxFileSize,
                            maxBackups);
}

int Run(QtSingleApplication& application)
{
    const Options options = ReadOptions();
    // To standard error, until this process is known to be the first and may write the log.
    common::logger::GetLogger()->SetLevel(common::logger::Warn);
    if (application.isRunning() && application.sendMessage(options.address)) {
        return 0;
    }
    // If the first process ended in the meantime, this one has taken its place.
    if (application.isRunning()) {
        qCritical("vxphone: the process that runs already does not answer; end it and try again");
        return 1;
    }
    QDir().mkpath(options.dataFolder);
    ConfigureLog(options.dataFolder);

    auto* const pane = new LogPane;
    PaneLogger logger(*common::logger::GetLog4cpp(), pane);
    common::logger::SetLogger(&logger);
    int exitCode = 0;
    {
        MainWindow window(application, QDir(options.dataFolder), pane);
        QObject::connect(&application, &QtSingleApplication::messageReceived, &window,
                         &MainWindow::TakeAddress);
        application.setActivationWindow(&window, true);
        window.TakeAddress(options.address);
        window.show();
        exitCode = QtSingleApplication::exec();
        application.setActivationWindow(nullptr, false);
    }
    common::logger::SetLogger(common::logger::GetLog4cpp());
    return exitCode;
}

} // namespace

} // namespace vxphone

int main(int argc, char* argv[])
{
    QtSingleApplication application(QStringLiteral("vxphone"), argc, argv);
    QtSingleApplication::setApplicationName(QStringLiteral("vxphone"));
    QtSingleApplication::setOrganizationName(QStringLiteral("vxcommon"));
    return vxphone::Run(application);
}

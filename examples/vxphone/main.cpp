#include "logpane.h"
#include "mainwindow.h"

#include <common/singleapp/qtsingleapplication.h>

#include <QCommandLineParser>
#include <QDir>
#include <QPlainTextEdit>
#include <QStandardPaths>

using namespace common::logger;

namespace
{

void ConfigureLog(const QString& file)
{
    constexpr std::size_t maxFileSize = std::size_t{1024} * 1024;
    constexpr int maxBackups = 2;
    GetLog4cpp()->Configure(Info, RollingFile, PatternLayout, QString(), QStringLiteral("qt"), QString(),
                            file, QString(), maxFileSize, maxBackups);
}

} // namespace

int main(int argc, char* argv[])
{
    QtSingleApplication application(QStringLiteral("vxphone"), argc, argv);
    QtSingleApplication::setApplicationName(QStringLiteral("vxphone"));
    QtSingleApplication::setOrganizationName(QStringLiteral("vxcommon"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("A miniature softphone window. It dials nothing."));
    parser.addHelpOption();
    parser.addOption({QStringLiteral("callto"),
                      QStringLiteral("An address or link to call, such as tel:+74951234567."),
                      QStringLiteral("URL")});
    parser.addOption({QStringLiteral("data"), QStringLiteral("Where contacts and files are kept."),
                      QStringLiteral("FOLDER"),
                      QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation)});
    parser.process(application);
    const QString address = parser.value(QStringLiteral("callto"));
    const QDir dataFolder(parser.value(QStringLiteral("data")));

    // To standard error, until this process is known to be the first and may write the log.
    GetLogger()->SetLevel(Warn);
    if (application.isRunning() && application.sendMessage(address)) {
        return 0;
    }
    // If the first process ended in the meantime, this one has taken its place.
    if (application.isRunning()) {
        qCritical("vxphone: the process that runs already does not answer; end it and try again");
        return 1;
    }
    dataFolder.mkpath(QStringLiteral("."));
    ConfigureLog(dataFolder.filePath(QStringLiteral("vxphone.log")));

    vxphone::PaneLogger logger(*GetLog4cpp());
    SetLogger(&logger);
    int exitCode = 0;
    {
        vxphone::MainWindow window(application, dataFolder, logger.Pane());
        QObject::connect(&application, &QtSingleApplication::messageReceived, &window,
                         &vxphone::MainWindow::TakeAddress);
        application.setActivationWindow(&window, true);
        window.TakeAddress(address);
        window.show();
        exitCode = QtSingleApplication::exec();
        application.setActivationWindow(nullptr, false);
    }
    SetLogger(GetLog4cpp());
    return exitCode;
}

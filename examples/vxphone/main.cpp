#include "logpane.h"
#include "mainwindow.h"

#include <common/singleapp/qtsingleapplication.h>

#include <QCommandLineParser>
#include <QDir>
#include <QFile>
#include <QPlainTextEdit>
#include <QStandardPaths>

#include <algorithm>

using namespace common::logger;

namespace
{

/// Removes "--callto" and all that follows it from the arguments, and returns the address.
///
/// A link is foreign data, and Qt takes its own options from anywhere in the arguments: one of them loads
/// plugins from any directory. So the application object must not see what a link may have brought.
QString CutAddress(int& argc, char** argv)
{
    char** const end = argv + argc;
    char** const option = std::find_if(argv + 1, end, [](const char* argument) {
        const QByteArrayView text(argument);
        return text == "--callto" || text.startsWith("--callto=");
    });
    if (option == end) {
        return {};
    }
    argc = static_cast<int>(option - argv);
    const QString text = QString::fromLocal8Bit(*option);
    const QString address = text.contains(u'=') ? text.section(u'=', 1)
                            : option + 1 == end ? QString()
                                                : QString::fromLocal8Bit(option[1]);
    *option = nullptr;
    return address;
}

void AddOptions(QCommandLineParser& parser)
{
    parser.setApplicationDescription(
        QStringLiteral("A miniature softphone window. Its calls are simulated."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOption({QStringLiteral("data"), QStringLiteral("Directory for contacts and files."),
                      QStringLiteral("DIRECTORY"),
                      QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation)});
    // For --help only: the address is no longer among the arguments.
    parser.addOption({QStringLiteral("callto"),
                      QStringLiteral("Offer an address or link for a call, such as tel:+74951234567. "
                                     "Must be the last option: what follows the address is ignored."),
                      QStringLiteral("ADDRESS")});
}

void ConfigureLog(const QString& file)
{
    constexpr std::size_t maxFileSize = std::size_t{1024} * 1024;
    constexpr int maxBackups = 2;
    GetLog4cpp()->Configure(Info, Target::RollingFile, Option::PatternLayout, QString(), QStringLiteral("qt"),
                            QString(), file, QString(), maxFileSize, maxBackups);
}

void ApplyStyle()
{
    // Some desktops set no colour for placeholders, or one that cannot be read.
    constexpr float opacity = 0.62F;
    QPalette palette;
    QColor placeholder = QApplication::palette().color(QPalette::Text);
    placeholder.setAlphaF(opacity);
    palette.setColor(QPalette::PlaceholderText, placeholder);
    QApplication::setPalette(palette);
    QFile style(QStringLiteral(":/vxphone.qss"));
    if (style.open(QIODevice::ReadOnly)) {
        qApp->setStyleSheet(QString::fromUtf8(style.readAll()));
    }
}

int ShowWindow(QtSingleApplication& application, const QDir& dataFolder, const QString& address)
{
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

} // namespace

int main(int argc, char* argv[])
{
    const QString address = CutAddress(argc, argv);
    QtSingleApplication::setApplicationName(QStringLiteral("vxphone"));
    QtSingleApplication::setApplicationVersion(QStringLiteral(VXCOMMON_VERSION));
    QtSingleApplication::setOrganizationName(QStringLiteral("vxcommon"));
    QtSingleApplication::setDesktopFileName(QStringLiteral("vxphone"));
    QtSingleApplication application(QStringLiteral("vxphone"), argc, argv);
    QCommandLineParser parser;
    AddOptions(parser);
    parser.process(application);
    const QDir dataFolder(parser.value(QStringLiteral("data")));

    // To standard error, until this process is known to be the primary instance and may write the log.
    GetLogger()->SetLevel(Warn);
    if (application.isRunning() && application.sendMessage(address)) {
        return 0;
    }
    // If the primary instance ended in the meantime, this process has taken its place.
    if (application.isRunning()) {
        qCritical("vxphone: the process that runs already does not respond; end it and try again");
        return 1;
    }
    dataFolder.mkpath(QStringLiteral("."));
    ConfigureLog(dataFolder.filePath(QStringLiteral("vxphone.log")));
    ApplyStyle();
    return ShowWindow(application, dataFolder, address);
}

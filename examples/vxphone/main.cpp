#include "logpane.h"
#include "mainwindow.h"
#include "widgets.h"

#include <common/singleapp/qtsingleapplication.h>

#include <QCommandLineParser>
#include <QFile>
#include <QStandardPaths>

using namespace Qt::StringLiterals;
using namespace common::logger;

namespace
{

/// Removes "--callto" and all that follows it from the arguments, and returns the address.
///
/// A link is foreign data, and Qt takes its own options from anywhere in the arguments: one of them loads
/// plugins from any directory. So the application object must not see what a link may have brought.
QString CutAddress(int& argc, char** argv)
{
    const QString option = u"--callto"_s;
    for (int i = 1; i < argc; ++i) {
        const QString argument = QString::fromLocal8Bit(argv[i]);
        if (argument == option || argument.startsWith(option + u'=')) {
            const QString next = i + 1 < argc ? QString::fromLocal8Bit(argv[i + 1]) : QString();
            argc = i;
            argv[argc] = nullptr;
            return argument == option ? next : argument.section(u'=', 1);
        }
    }
    return {};
}

QDir ReadOptions(const QCoreApplication& application)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(u"A miniature softphone window. Its calls are simulated."_s);
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOption({u"data"_s, u"Directory for contacts and files."_s, u"DIRECTORY"_s,
                      QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation)});
    // For --help only: the address is no longer among the arguments.
    parser.addOption(
        {u"callto"_s,
         u"Offer an address or link for a call, such as tel:+74951234567. Must be the last option: "
         "what follows the address is ignored."_s,
         u"ADDRESS"_s});
    parser.process(application);
    return QDir(parser.value(u"data"_s));
}

void ConfigureLog(const QString& file)
{
    constexpr std::size_t maxFileSize = std::size_t{1024} * 1024;
    constexpr int maxBackups = 2;
    GetLog4cpp()->Configure(Info, Target::RollingFile, Option::PatternLayout, QString(), u"qt"_s, QString(),
                            file, QString(), maxFileSize, maxBackups);
}

void ApplyStyle()
{
    // Some desktops set no colour for placeholders, or one that cannot be read.
    QPalette palette;
    palette.setColor(QPalette::PlaceholderText, ToneColour(QApplication::palette(), Tone::Quiet));
    QApplication::setPalette(palette);
    qApp->setStyleSheet(u"file:///:/vxphone.qss"_s);
}

int ShowWindow(QtSingleApplication& application, const QDir& dataFolder, const QString& address)
{
    PaneLogger logger;
    SetLogger(&logger);
    MainWindow window(dataFolder, new LogPane(logger));
    QObject::connect(&application, &QtSingleApplication::messageReceived, &window, &MainWindow::TakeAddress);
    application.setActivationWindow(&window, true);
    window.TakeAddress(address);
    window.show();
    const int exitCode = QtSingleApplication::exec();
    SetLogger(GetLog4cpp());
    return exitCode;
}

} // namespace

int main(int argc, char* argv[])
{
    const QString address = CutAddress(argc, argv);
    QtSingleApplication::setApplicationName(u"vxphone"_s);
    QtSingleApplication::setApplicationVersion(QStringLiteral(VXCOMMON_VERSION));
    QtSingleApplication::setOrganizationName(u"vxcommon"_s);
    QtSingleApplication::setDesktopFileName(u"vxphone"_s);
    const QByteArrayView first = argc > 1 ? argv[1] : "";
    if (first == "--version" || first == "--help") { // They need no display.
        ReadOptions(QCoreApplication(argc, argv));
    }
    QtSingleApplication application(u"vxphone"_s, argc, argv);
    const QDir dataFolder = ReadOptions(application);

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
    dataFolder.mkpath(u"."_s);
    ConfigureLog(dataFolder.filePath(u"vxphone.log"_s));
    ApplyStyle();
    return ShowWindow(application, dataFolder, address);
}

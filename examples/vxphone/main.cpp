#include "logpane.h"
#include "mainwindow.h"

#include <common/singleapp/qtsingleapplication.h>

#include <QCommandLineParser>
#include <QStandardPaths>

using namespace Qt::StringLiterals;
using namespace common::logger;

namespace
{

/// Removes "--callto" and everything after it from the arguments, and returns the address.
///
/// Links are untrusted, and Qt accepts its own options anywhere in the arguments, even one that loads plugins
/// from any directory. Therefore the application object must not receive the content of a link.
QString CutAddress(int& argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        const QString argument = QString::fromLocal8Bit(argv[i]);
        if (argument.section(u'=', 0, 0) == u"--callto"_s) {
            const QString next = QString::fromLocal8Bit(argv[i + 1]); // argv ends with a null pointer.
            argc = i;
            argv[argc] = nullptr;
            return argument.contains(u'=') ? argument.section(u'=', 1) : next;
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
    // Only for --help: CutAddress has already removed the address from the arguments.
    parser.addOption({u"callto"_s, u"Offer an address for a call; must be the last option."_s, u"ADDRESS"_s});
    parser.process(application);
    return {parser.value(u"data"_s)};
}

void ApplyStyle()
{
    // Some desktops set no colour for placeholders, or an illegible one.
    QPalette palette;
    QColor quiet = QApplication::palette().text().color();
    quiet.setAlphaF(0.62F); // Keeps a contrast of 4.5:1 on black and on white.
    palette.setColor(QPalette::PlaceholderText, quiet);
    QApplication::setPalette(palette);
    qApp->setStyleSheet(u"file:///:/vxphone.qss"_s);
}

int ShowWindow(QtSingleApplication& application, const QDir& dataFolder, const QString& address)
{
    constexpr std::size_t maxFileSize = 1'000'000;
    GetLog4cpp()->Configure(Info, Target::RollingFile, Option::PatternLayout, {}, u"qt"_s, {},
                            dataFolder.filePath(u"vxphone.log"_s), {}, maxFileSize, 2);
    auto* const logPane = new LogPane;
    SetLogger(logPane);
    MainWindow window(dataFolder, logPane);
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
    // Until this process is the primary instance, log only warnings, to standard error.
    GetLogger()->SetLevel(Warn);
    const QString address = CutAddress(argc, argv);
    QtSingleApplication::setApplicationName(u"vxphone"_s);
    QtSingleApplication::setApplicationVersion(QStringLiteral(VXCOMMON_VERSION));
    QtSingleApplication::setOrganizationName(u"vxcommon"_s);
    QtSingleApplication::setDesktopFileName(u"vxphone"_s);
    const QByteArrayView first = argc > 1 ? argv[1] : "";
    if (first == "--version" || first == "--help") { // These options need no display.
        ReadOptions(QCoreApplication(argc, argv));
    }
    QtSingleApplication application(u"vxphone"_s, argc, argv);
    const QDir dataFolder = ReadOptions(application);

    if (application.isRunning() && application.sendMessage(address)) {
        return 0;
    }
    // If the primary instance ended in the meantime, this process has taken its place.
    if (application.isRunning()) {
        qCritical("vxphone: the running instance does not respond; terminate it and try again");
        return 1;
    }
    dataFolder.mkpath(u"."_s);
    ApplyStyle();
    return ShowWindow(application, dataFolder, address);
}

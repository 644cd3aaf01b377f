#include <common/shell/shell.h>

#include <logger/recordinglogger.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusContext>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <cstdio>
#include <memory>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using common::Shell;

namespace
{

/// Well below the 25 s that a call takes by default, and above what a loaded machine adds to 2 s.
constexpr int showLimit = 10000;

void WriteFile(const QString& path, const QByteArray& content, bool executable = false)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
    if (executable) {
        QVERIFY(file.setPermissions(file.permissions() | QFile::ExeOwner | QFile::ExeUser));
    }
}

QByteArray ReadFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// A socket that takes connections in and then keeps silent.
int ListenSilently(const QByteArray& path)
{
    const int descriptor = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, path.constData(), sizeof(address.sun_path));
    const bool listening = bind(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0 &&
                           listen(descriptor, 1) == 0;
    return listening ? descriptor : -1;
}

/// What this program does when it is started with arguments: one call, then the log on standard output.
int RunAsChild(const QStringList& arguments)
{
    const RecordingLogger log;
    const QString& job = arguments.at(1);
    bool result = false;
    if (job == "folders") {
        std::puts(qPrintable(Shell::AppPath()));
        std::puts(qPrintable(Shell::DesktopPath()));
        std::puts(qPrintable(Shell::StartMenuPath()));
        return 0;
    }
    if (job == "show") {
        result = Shell::ShowFile(arguments.at(2));
    } else if (job == "remove") {
        result = Shell::RemoveAfterExit(arguments.at(2));
    }
    for (const auto& line : log.lines) {
        std::puts(qPrintable(QStringLiteral("%1: %2").arg(line.level).arg(line.text)));
    }
    return result ? 0 : 1;
}

} // namespace

class FileManager : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    QString behaviour;
    QStringList shown;

public Q_SLOTS:
    void ShowItems(const QStringList& uris, const QString& startupId)
    {
        Q_UNUSED(startupId)
        shown += uris;
        if (behaviour == "refuses") {
            sendErrorReply("org.example.Refused", "no");
        } else if (behaviour == "is silent") {
            setDelayedReply(true);
        }
    }
};

class TestDesktop : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void folders();
    void showFile_data();
    void showFile();
    void shortcut_data();
    void shortcut();
    void shortcutThatCannotBe();
    void removeAfterExit_data();
    void removeAfterExit();
    void unusualFiles();

private:
    void StartBus();
    int RunChild(const QStringList& arguments);

    std::unique_ptr<QTemporaryDir> dir;
    QProcessEnvironment environment;
    QProcess bus;
    QByteArray output;
    qint64 elapsed = 0;
};

void TestDesktop::init()
{
    dir = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir(dir->path()).mkpath("bin"));
    QVERIFY(QDir(dir->path()).mkpath("home"));
    environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "DISPLAY", "DBUS_SESSION_BUS_ADDRESS"}) {
        environment.remove(name);
    }
    environment.insert("HOME", dir->filePath("home"));
}

void TestDesktop::cleanup()
{
    bus.kill();
    bus.waitForFinished();
    dir.reset();
}

/// A session bus of our own, on which somebody has installed a file manager that does not start.
void TestDesktop::StartBus()
{
    WriteFile(dir->filePath("broken.service"),
              "[D-BUS Service]\nName=org.freedesktop.FileManager1\nExec=/bin/false\n");
    WriteFile(dir->filePath("bus.conf"),
              "<busconfig><type>session</type><listen>unix:path=" + dir->filePath("bus").toUtf8() +
                  "</listen><servicedir>" + dir->path().toUtf8() +
                  "</servicedir><policy context=\"default\"><allow send_destination=\"*\"/>"
                  "<allow receive_sender=\"*\"/><allow own=\"*\"/></policy></busconfig>");
    bus.start("dbus-daemon", {"--config-file=" + dir->filePath("bus.conf"), "--nofork", "--print-address"});
    QVERIFY(bus.waitForReadyRead(30000));
}

/// Runs this program as a child while our own D-Bus service can answer; returns its exit code.
int TestDesktop::RunChild(const QStringList& arguments)
{
    QProcess child;
    child.setProcessEnvironment(environment);
    child.setWorkingDirectory(dir->path());
    QElapsedTimer timer;
    timer.start();
    child.start(QCoreApplication::applicationFilePath(), arguments);
    if (!QTest::qWaitFor([&child] { return child.state() == QProcess::NotRunning; }, 60000)) {
        return -1;
    }
    elapsed = timer.elapsed();
    output = child.readAllStandardOutput();
    return child.exitStatus() == QProcess::NormalExit ? child.exitCode() : -1;
}

void TestDesktop::folders()
{
    const QByteArray home = dir->filePath("home").toUtf8();
    QCOMPARE(RunChild({"folders"}), 0);
    QCOMPARE(output, home + "/.local/share\n" + home + "/Desktop\n" + home + "/.local/share/applications\n");
    for (const QByteArray& line : output.trimmed().split('\n')) {
        QVERIFY2(QFileInfo(QString::fromUtf8(line)).isDir(), line.constData());
    }
    QCOMPARE(QFileInfo(home + "/.local").permissions() & (QFile::ReadOther | QFile::ReadGroup),
             QFile::Permissions());

    QVERIFY(QDir(home).mkpath(".config"));
    WriteFile(home + "/.config/user-dirs.dirs", "XDG_DESKTOP_DIR=\"$HOME/Schreib tisch\"\n");
    environment.insert("XDG_DATA_HOME", dir->filePath("data"));
    QCOMPARE(RunChild({"folders"}), 0);
    const QByteArray data = dir->filePath("data").toUtf8();
    QCOMPARE(output, data + '\n' + home + "/Schreib tisch\n" + data + "/applications\n");
}

void TestDesktop::showFile_data()
{
    QTest::addColumn<QString>("behaviour");
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("result");
    QTest::addColumn<QString>("shown");  // By the service.
    QTest::addColumn<QString>("opened"); // By xdg-open.

    const QString file = "a%20 b#ü.txt";
    const QString uri = "a%2520%20b%23%C3%BC.txt";
    QTest::newRow("accepted") << "accepts" << file << true << uri << "";
    QTest::newRow("refused, so nothing else is tried") << "refuses" << file << false << uri << "";
    QTest::newRow("no answer") << "is silent" << file << true << uri << "/";
    QTest::newRow("service that does not start") << "cannot start" << file << true << ""
                                                 << "/";
    QTest::newRow("bus that keeps silent") << "bus is silent" << file << true << ""
                                           << "/";
    QTest::newRow("no bus, file") << "no bus" << file << true << ""
                                  << "/";
    QTest::newRow("no bus, folder") << "no bus"
                                    << "bin" << true << ""
                                    << "/bin";
    QTest::newRow("no bus and no xdg-open") << "nothing" << file << false << ""
                                            << "";
}

void TestDesktop::showFile()
{
    QFETCH(QString, behaviour);
    QFETCH(QString, path);
    QFETCH(bool, result);
    QFETCH(QString, shown);
    QFETCH(QString, opened);

    WriteFile(dir->filePath("bin/xdg-open"),
              "#!/bin/sh\nprintf '%s' \"$1\" >\"$HOME/opened.new\"\n"
              "mv \"$HOME/opened.new\" \"$HOME/opened\"\n",
              behaviour != "nothing");
    environment.insert("PATH", dir->filePath("bin") + (behaviour == "nothing" ? "" : ":/usr/bin:/bin"));
    environment.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + dir->filePath("bus"));
    FileManager manager;
    manager.behaviour = behaviour;
    int silentBus = -1;
    if (behaviour == "bus is silent") {
        silentBus = ListenSilently(dir->filePath("bus").toLocal8Bit());
        QVERIFY(silentBus >= 0);
    } else if (behaviour != "no bus" && behaviour != "nothing") {
        StartBus();
    }
    if (behaviour == "accepts" || behaviour == "refuses" || behaviour == "is silent") {
        auto connection = QDBusConnection::connectToBus("unix:path=" + dir->filePath("bus"), behaviour);
        QVERIFY(connection.registerObject("/org/freedesktop/FileManager1", &manager,
                                          QDBusConnection::ExportAllSlots));
        QVERIFY(connection.registerService("org.freedesktop.FileManager1"));
    }

    QCOMPARE(RunChild({"show", dir->filePath(path)}), result ? 0 : 1);
    close(silentBus);
    QVERIFY2(elapsed < showLimit, QByteArray::number(elapsed).constData());
    QDBusConnection::disconnectFromBus(behaviour);
    QStringList expected;
    if (!shown.isEmpty()) {
        expected += "file://" + dir->path() + '/' + shown;
    }
    QCOMPARE(manager.shown, expected);
    if (!opened.isEmpty()) {
        QTRY_VERIFY(QFileInfo::exists(dir->filePath("home/opened")));
        QCOMPARE(ReadFile(dir->filePath("home/opened")), QDir::cleanPath(dir->path() + opened).toUtf8());
    }
    const bool fails = behaviour == "nothing";
    QCOMPARE(output, fails
                         ? "3: Shell::ShowFile() - unable to start 'xdg-open " + dir->path().toUtf8() + "'\n"
                         : QByteArray());
    QVERIFY(!opened.isEmpty() || !QFileInfo::exists(dir->filePath("home/opened")));
}

void TestDesktop::shortcut_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QString>("arguments");

    QTest::newRow("plain") << "phone"
                           << "";
    QTest::newRow("blanks") << "my phone"
                            << "--call \"tel:+1 2\" \"\" end";
    QTest::newRow("percent signs") << "100%U=phone%%"
                                   << "%u 50% \"%f and %F\"";
    QTest::newRow("shell characters") << "$HOME `id` ;&|<>*?#()~'"
                                      << "$HOME \"$(id)\" `id` ;touch\\ x' *";
    QTest::newRow("backslashes and quotes") << "a\\b\\\\c\"d"
                                            << "\\ back\\slash \"C:\\dir with\\\\\" \"a\"\"\"quote\"\"\"b\"";
    QTest::newRow("tabs, line breaks, umlauts") << "ü\t1"
                                                << "\"a\nb\" \"c\td\" ü";
}

void TestDesktop::shortcut()
{
    QFETCH(QString, program);
    QFETCH(QString, arguments);

    const QString target = dir->filePath(program);
    WriteFile(target,
              "#!/bin/sh\n{ pwd; for a; do printf '%s\\0' \"$a\"; done; } >\"$OUT.new\"\nmv \"$OUT.new\" "
              "\"$OUT\"\n",
              true);
    const QString work = dir->filePath("wo\\rk dir");
    QVERIFY(QDir().mkpath(work));
    const QString path = dir->filePath("My phone.desktop");
    WriteFile(path, "left over");
    QVERIFY(
        Shell::CreateShortcut(target, work, arguments, path, " Calls\\people\nand more", "vexline.phone"));

    QProcess validator;
    validator.start("desktop-file-validate", {path});
    QVERIFY2(validator.waitForFinished(), "desktop-file-validate is missing");
    QCOMPARE(validator.readAll(), QByteArray());
    QCOMPARE(validator.exitCode(), 0);
    QVERIFY(QFileInfo(path).isExecutable());
    const QByteArray text = ReadFile(path);
    QVERIFY2(text.contains("\nName=My phone\n") && text.contains("\nStartupWMClass=vexline.phone\n") &&
                 text.contains("\nComment=\\sCalls\\\\people\\nand more\n"),
             text.constData());

    QProcess launcher;
    environment.insert("OUT", dir->filePath("out"));
    launcher.setProcessEnvironment(environment);
    launcher.start("gio", {"launch", path});
    QVERIFY2(launcher.waitForFinished(), "gio is missing");
    QTRY_VERIFY2(QFileInfo::exists(dir->filePath("out")), text + launcher.readAllStandardError());
    QByteArray expected = work.toUtf8() + '\n';
    for (const QString& argument : QProcess::splitCommand(arguments)) {
        expected += argument.toUtf8() + '\0';
    }
    QCOMPARE(ReadFile(dir->filePath("out")), expected);
}

void TestDesktop::shortcutThatCannotBe()
{
    QVERIFY(!Shell::CreateShortcut("/bin/sh", "", "", dir->filePath("none/x.desktop"), "", ""));
    QVERIFY(!Shell::CreateShortcut("", "", "", dir->filePath("x.desktop"), "", ""));
    QVERIFY(!Shell::CreateShortcut("/bin/sh", "", "", dir->path(), "", ""));
    QVERIFY(Shell::CreateShortcut("sh", "", "", dir->filePath("x.desktop"), "", ""));
    QCOMPARE(ReadFile(dir->filePath("x.desktop")), "[Desktop Entry]\nType=Application\nName=x\nExec=sh\n");
}

void TestDesktop::removeAfterExit_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("removed");

    QTest::newRow("shell commands") << "\"; touch x; \""
                                    << "\"; touch x; \"";
    QTest::newRow("an option") << "-rf"
                               << "-rf";
    QTest::newRow("expansions") << "$(touch x) `touch x` * $1"
                                << "$(touch x) `touch x` * $1";
    QTest::newRow("relative, with a blank") << "a b/../a b/"
                                            << "a b";
    QTest::newRow("a link is removed, its target is not") << "link"
                                                          << "link";
    QTest::newRow("an empty path means nothing") << ""
                                                 << "";
}

void TestDesktop::removeAfterExit()
{
    QFETCH(QString, name);
    QFETCH(QString, removed);

    QDir base(dir->path());
    QVERIFY(base.mkpath("other/sub"));
    if (name == "link") {
        QVERIFY(QFile::link("other", dir->filePath("link")));
    } else if (!removed.isEmpty()) {
        QVERIFY(base.mkpath(removed + "/sub"));
        WriteFile(dir->filePath(removed + "/sub/file"), "x");
    }
    QStringList left = base.entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    left.removeAll(removed);
    QCOMPARE(RunChild({"remove", name}), 0);
    QVERIFY2(output.startsWith("7: RemoveAfterExit() - CreateProcessW(/bin/sh -c "), output.constData());
    if (!removed.isEmpty()) {
        QTRY_VERIFY_WITH_TIMEOUT(!QFileInfo(dir->filePath(removed)).isSymLink() &&
                                     !QFileInfo::exists(dir->filePath(removed)),
                                 15000);
    }
    QCOMPARE(base.entryList(QDir::AllEntries | QDir::NoDotAndDotDot), left);
    QVERIFY(QFileInfo(dir->filePath("other/sub")).isDir());
}

void TestDesktop::unusualFiles()
{
    const QString pipe = dir->filePath("pipe");
    QCOMPARE(mkfifo(pipe.toUtf8().constData(), 0600), 0);
    QVERIFY(QFile::link("pipe", dir->filePath("link")));
    QVERIFY(!Shell::Copy(pipe, dir->filePath("copy"), true));
    QVERIFY(!Shell::Copy(dir->filePath("link"), dir->filePath("copy"), true));
    QVERIFY(QFile::link("nowhere", dir->filePath("dangling")));
    WriteFile(dir->filePath(".hidden"), "");
    WriteFile(dir->filePath("bin/.hidden"), "");
    QVERIFY(QFile::link("bin", dir->filePath("folder")));
    WriteFile(dir->filePath("bin/x"), "");
    const QByteArray noText = QFile::encodeName(dir->path()) + "/\xff";
    QCOMPARE(mkfifo(noText.constData(), 0600), 0);
    QStringList found = Shell::ScanFiles(dir->path(), {});
    QCOMPARE(unlink(noText.constData()), 0); // QTemporaryDir could not.
    found.sort();
    const QStringList expected{"bin/x", "dangling", "folder/x", "link", "pipe"};
    QCOMPARE(found, QStringList(expected).replaceInStrings(QRegularExpression("^"), dir->path() + '/'));
    QDir base(dir->path()); // The same by Qt.
    QCOMPARE(base.entryList(QDir::Files | QDir::System | QDir::NoDotAndDotDot, QDir::Name),
             QStringList({"dangling", "link", "pipe"}));
}

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const bool asChild =
        arguments.size() > 1 && QStringList{"folders", "show", "remove"}.contains(arguments.at(1));
    if (asChild) {
        return RunAsChild(arguments);
    }
    TestDesktop test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_desktop.moc"

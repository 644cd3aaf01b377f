#include <common/shell/shell.h>

#include <desktop/privatebus.h>
#include <files/filetree.h>
#include <logger/recordinglogger.h>
#include <table.h>

#include <QDBusConnection>
#include <QDBusContext>
#include <QProcess>
#include <QTemporaryDir>

#include <future>
#include <memory>
#include <tuple>

using namespace std::chrono_literals;
using common::Shell;

namespace
{

/// Writes a script that stores its working directory and its arguments in the file $OUT.
void WriteScript(const QString& path)
{
    filetree::Write(path, "#!/bin/sh\n{ pwd; for a; do printf '%s\\0' \"$a\"; done; } >\"$OUT.new\"\n"
                          "mv \"$OUT.new\" \"$OUT\"\n");
    QVERIFY(QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
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
    void ShowItems(const QStringList& uris, const QString& /*startupId*/)
    {
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
    void folders();
    void showFile_data();
    void showFile();
    void shortcut();
    void shortcutPlaces();
    void removeAfterExit();

private:
    QString Path(const QString& name) const { return dir->filePath(name); }

    PrivateBus bus{"session"};
    std::unique_ptr<QTemporaryDir> dir;
};

void TestDesktop::init()
{
    dir = std::make_unique<QTemporaryDir>();
    for (const char* name : {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "DISPLAY"}) {
        qunsetenv(name);
    }
    qputenv("HOME", QFile::encodeName(Path("home")));
    qputenv("OUT", QFile::encodeName(Path("out")));
}

void TestDesktop::folders()
{
    const QString home = Path("home");
    const QString data = home + "/.local/share";
    const QStringList told{Shell::AppPath(), Shell::DesktopPath(), Shell::StartMenuPath()};
    QCOMPARE(told, QStringList({data, home + "/Desktop", data + "/applications"}));
    for (const QString& path : told) {
        QVERIFY2(QFileInfo(path).isDir(), qPrintable(path));
    }
    QCOMPARE(QFileInfo(home + "/.local").permissions() & (QFile::ReadOther | QFile::ReadGroup), 0);
}

void TestDesktop::showFile_data()
{
    const Table<bool, bool> row("result", "isOpened"); // By xdg-open.
    row("accepts", true, false);
    row("refuses", false, false);
    row("is silent", true, true);
    row("is not there", true, true);
    row("no bus, no xdg-open", false, false);
}

void TestDesktop::showFile()
{
    QFETCH(bool, isOpened);

    const QString behaviour = QTest::currentDataTag();
    WriteScript(Path("bin/xdg-open"));
    const QByteArray oldPath = qgetenv("PATH");
    const bool hasNothing = behaviour == "no bus, no xdg-open";
    qputenv("PATH", hasNothing ? QByteArray("/none") : QFile::encodeName(Path("bin")) + ":" + oldPath);
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (hasNothing ? QByteArray("/none") : bus.Path()));
    FileManager manager;
    manager.behaviour = behaviour;
    auto connection = QDBusConnection::connectToBus("unix:path=" + bus.Path(), behaviour);
    connection.registerObject("/org/freedesktop/FileManager1", &manager, QDBusConnection::ExportAllSlots);
    const bool isAsked = !hasNothing && behaviour != "is not there";
    QVERIFY(!isAsked || connection.registerService("org.freedesktop.FileManager1"));

    const RecordingLogger log;
    auto answer = std::async(std::launch::async, [this] { return Shell::ShowFile(Path("a%20 b#ü.txt")); });
    // 10 s lies between the library's limit of 2 s and the D-Bus default of 25 s.
    const bool inTime =
        QTest::qWaitFor([&] { return answer.wait_for(0s) == std::future_status::ready; }, 10000);
    answer.wait();
    QDBusConnection::disconnectFromBus(behaviour);
    qputenv("PATH", oldPath);
    QVERIFY(inTime);
    QTEST(answer.get(), "result");
    QCOMPARE(manager.shown.join(""), isAsked ? "file://" + Path("a%2520%20b%23%C3%BC.txt") : QString());
    QTRY_COMPARE(QString(filetree::Read(Path("out")).split('\n').last()),
                 isOpened ? dir->path() + QChar(0) : QString());
    const QString unable = "3 Shell::ShowFile() - unable to start 'xdg-open ROOT'";
    QCOMPARE(log.Lines("common.shell", 7, dir->path()), QStringList(unable).mid(hasNothing ? 0 : 1));
}

void TestDesktop::shortcut()
{
    const std::tuple<QString, QString, QStringList> commands[] = {
        {"a b\\c\\\\\"d $HOME `id` ;&|<>*?#()~'",
         "--call \"tel:+1 2\" \"\" $HOME \"$(id)\" `id` ;touch\\ x' * --a=\"\" \"",
         {"--call", "tel:+1 2", "", "$HOME", "$(id)", "`id`", ";touch\\", "x'", "*", "--a=", ""}},
        {"100%U=ü%%\t1",
         "%u 50% \"%f and %F\" \\ \"C:\\dir with\\\" \"a\"\"\"q\"\"\"b\" \"a\nb\" \"c\td\" ü",
         {"%u", "50%", "%f and %F", "\\", "C:\\dir with\\", "a\"q\"b", "a\nb", "c\td", "ü"}}};
    const QString work = Path("wo\\rk dir");
    const QString path = Path("My phone.desktop");
    filetree::Build(dir->path(), {"wo\\rk dir/", "My phone.desktop=left over"});
    for (const auto& [program, arguments, words] : commands) {
        WriteScript(Path(program));
        QVERIFY(Shell::CreateShortcut(Path(program), work, arguments, path, " Calls\\people\nand more",
                                      "vexline.phone"));
        QCOMPARE(QProcess::execute("desktop-file-validate", {path}), 0);
        QVERIFY(QFileInfo(path).isExecutable());
        const QByteArray text = filetree::Read(path);
        QVERIFY(text.endsWith("\nComment=\\sCalls\\\\people\\nand more\nStartupWMClass=vexline.phone\n"));
        QCOMPARE(QProcess::execute("gio", {"launch", path}), 0);
        QTRY_VERIFY2(QFileInfo::exists(Path("out")), text.constData());
        QCOMPARE(QString(filetree::Read(Path("out"))), work + '\n' + words.join(QChar(0)) + QChar(0));
        QVERIFY(QFile::remove(Path("out")));
    }
}

void TestDesktop::shortcutPlaces()
{
    filetree::Build(dir->path(), {"victim=kept", "x.desktop->victim"});
    const filetree::CurrentDirectory current(dir->path());
    QVERIFY(!Shell::CreateShortcut("/bin/sh", "", "", Path("none/x.desktop"), "", ""));
    QVERIFY(Shell::CreateShortcut("sh", "work", "", Path("x.desktop"), "", ""));
    QVERIFY(Shell::CreateShortcut("/bin/sh", "", "", Path(".desktop"), "", ""));
    const QString entry = "desktop=[Desktop Entry]\nType=Application\nName=";
    QCOMPARE(filetree::Snapshot(dir->path()),
             QStringList({'.' + entry + "sh\nExec=/bin/sh\n", "victim=kept",
                          "x." + entry + "x\nExec=sh\nPath=" + Path("work") + '\n'}));
}

void TestDesktop::removeAfterExit()
{
    const filetree::CurrentDirectory current(dir->path());
    const QString evil[] = {"\"; touch x; \"", "-rf", "$(touch x) `touch x` * $1"};
    filetree::Build(dir->path(), {"target/sub/a=1", "link->target", "far/away/", "far/b/c=2", "b/d=3",
                                  "l->far/away", evil[0] + "/a=1", evil[1] + "/a=1", evil[2] + "/a=1"});
    RecordingLogger log;
    QVERIFY(Shell::RemoveAfterExit("none"));
    QVERIFY(log.lines.empty());
    for (const QString& name : QStringList{"link", evil[0], evil[1], evil[2], "l/../b", ""}) {
        QVERIFY(Shell::RemoveAfterExit(name));
    }
    QVERIFY(log.lines.back().text.endsWith(") successfully started!"));
    for (const QString& name : QStringList{"link", evil[0], evil[1], evil[2], "far/b"}) {
        QTRY_VERIFY_WITH_TIMEOUT(!QFileInfo::exists(Path(name)), 15000);
    }
    const QStringList left{"b/d=3", "far/away/", "l->far/away", "target/sub/a=1"};
    QCOMPARE(filetree::Snapshot(dir->path()), left);
}

QTEST_GUILESS_MAIN(TestDesktop)
#include "tst_desktop.moc"

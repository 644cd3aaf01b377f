#include <common/chrome/pluginutils.h>
#include <common/clicktocall/clicktocall.h>

#include <logger/recordinglogger.h>
#include <registration/usertree.h>
#include <resourcelimit.h>
#include <table.h>

#include <QCoreApplication>
#include <QElapsedTimer>

#include <cerrno>
#include <functional>
#include <future>
#include <memory>
#include <utility>
#include <vector>

#include <sys/file.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

using common::ClickToCall;
using common::chrome::PluginUtils;

namespace
{

const QString pluginId = QStringLiteral("abcdefghijklmnopabcdefghijklmnop");

QByteArray DefaultHandler(const QString& scheme)
{
    return UserTree::Run("xdg-mime", {"query", "default", "x-scheme-handler/" + scheme});
}

/// Called with the result of each read from mimeapps.list; if the function returns false, the read fails.
std::function<bool(qsizetype)> onRead;

} // namespace

/// Replaces read() for this program and the library.
extern "C" __attribute__((visibility("default"))) ssize_t read(int descriptor, void* buffer, std::size_t size)
{
    const ssize_t count = syscall(SYS_read, descriptor, buffer, size);
    if (onRead) {
        const auto hook = std::exchange(onRead, nullptr); // Disables the hook for its own reads.
        const QString path = QFile::symLinkTarget("/proc/self/fd/" + QString::number(descriptor));
        const bool isFailed = path.endsWith("/mimeapps.list") && !hook(count);
        onRead = hook;
        if (isFailed) {
            errno = EIO;
            return -1;
        }
    }
    return count;
}

class TestUrlHandlers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { user = std::make_unique<UserTree>(); }
    void names_data();
    void names();
    void click();
    void chosenElsewhere();
    void listOfOthers_data();
    void listOfOthers();
    void desktopsOwnList();
    void relativeDirectories();
    void unreadableList();
    void listChangedMeanwhile();
    void refused();
    void heldStore();
    void writersAtOnce();

private:
    std::unique_ptr<UserTree> user;
};

void TestUrlHandlers::names_data()
{
    const Table<QString> row("hostile");
    row("a path upwards", "../../../escape");
    row("line breaks", "a\nExec=evil\r");
    row("longer than a file name", QString(300, u'ж'));
    row("blank", " ");
}

void TestUrlHandlers::names()
{
    QFETCH(QString, hostile);

    const QDir folder(user->DataPath("applications"));
    QVERIFY(ClickToCall::registerProtocols({"tel"}, hostile, hostile));
    QVERIFY(ClickToCall::registerProtocols({"sip"}, hostile + "2", hostile));
    QCOMPARE(ClickToCall::stateOfProtocols(hostile, hostile), QStringList("tel"));
    const QStringList entries = folder.entryList({"*-url-handler.desktop"});
    QCOMPARE(entries.size(), 2);
    QVERIFY(entries.contains(DefaultHandler("tel")));
    for (const QString& entry : entries) {
        QCOMPARE(UserTree::Run("desktop-file-validate", {folder.filePath(entry)}), "");
    }
    QVERIFY(ClickToCall::unregisterProtocols({"tel"}, hostile, hostile));
    QVERIFY(ClickToCall::unregisterApplication(hostile + "2", hostile));
    QCOMPARE(folder.entryList({"*-url-handler.desktop"}), QStringList());
    QVERIFY(!QFile::exists(user->ConfigPath("mimeapps.list")));
}

void TestUrlHandlers::click()
{
    const QString record = user->DataPath("record");
    qputenv("CALL_RECORD", record.toUtf8());
    QVERIFY(ClickToCall::registerProtocols({"sip", "tel"}, "Phone", "Maker"));
    // An earlier version of the program, at another path, registered this scheme.
    UserTree::Open()->setValue("Software/Classes/Maker.Phone.tel/shell/open/command/Default",
                               "\"/nonexistent/phone\" --callto \"%1\"");
    QVERIFY(ClickToCall::registerProtocols({"sip"}, "Phone", "Maker"));
    QCOMPARE(UserTree::Run("xdg-open", {"tel:+4912345"}), "");
    QTRY_COMPARE(filetree::Read(record), "--callto|tel:+4912345");
    QCOMPARE(UserTree::Run("gio", {"open", "tel:+49%22%20--evil;$(id)`id`"}), "");
    QTRY_COMPARE(filetree::Read(record), "--callto|tel:+49%22%20--evil;$(id)`id`");
}

void TestUrlHandlers::chosenElsewhere()
{
    filetree::Write(user->DataPath("applications/other.desktop"),
                    "[Desktop Entry]\nName=Other\nExec=/usr/bin/true %u\n");
    QVERIFY(ClickToCall::registerProtocols({"tel", "sip"}, "Phone", "Maker"));
    const QString own = DefaultHandler("tel");
    QCOMPARE(UserTree::Run("xdg-mime", {"default", "other.desktop", "x-scheme-handler/tel"}), "");
    QCOMPARE(ClickToCall::stateOfProtocols("Phone", "Maker"), QStringList("sip"));
    QVERIFY2(ClickToCall::registerProtocols({"sip"}, "Phone", "Maker"), "leaves tel alone");
    QCOMPARE(DefaultHandler("tel"), "other.desktop");
    QCOMPARE(UserTree::Run("xdg-mime", {"default", own, "x-scheme-handler/tel"}), "");
    QCOMPARE(ClickToCall::stateOfProtocols("Phone", "Maker"), QStringList({"tel", "sip"}));
    QVERIFY2(ClickToCall::registerProtocols({"tel"}, "Third", "Maker"), "one of our own kind");
    QCOMPARE(ClickToCall::stateOfProtocols("Phone", "Maker"), QStringList("sip"));
    QCOMPARE(ClickToCall::stateOfProtocols("Third", "Maker"), QStringList("tel"));
}

void TestUrlHandlers::listOfOthers_data()
{
    const Table<QByteArray> row("list");
    const QByteArray header = "[Default Applications]";
    row("other sections", "[Added Associations]\ntext/plain=a.desktop;\n");
    row("a list", header + "\nx-scheme-handler/tel=other.desktop;b.desktop;\n");
    row("blanks, no end", "#\n\n " + header + "\n x-scheme-handler/tel = a.desktop\n\n[X]\n=\nno");
    row("Windows line ends", header + "\r\nx-scheme-handler/tel=a.desktop\r\na/b=c.desktop\r\n");
    row("nothing", "");
    row("bytes that are no text", "[\xff]\n\xfe=\x01\n\n" + header + "\n\xfd=\n");
}

void TestUrlHandlers::listOfOthers()
{
    QFETCH(QByteArray, list);

    // Many users keep their settings elsewhere and link to them.
    const QString path = user->ConfigPath("kept");
    const QString link = user->ConfigPath("mimeapps.list");
    filetree::Write(path, list);
    QVERIFY(QFile::link(path, link));
    QVERIFY(ClickToCall::registerProtocols({"tel", "sip"}, "Phone", "Maker"));
    QCOMPARE(DefaultHandler("sip"), "Maker.Phone-url-handler.desktop");
    QVERIFY2(QFile::exists(user->DataPath("applications/mimeinfo.cache")), "others look in here");
    QVERIFY(ClickToCall::unregisterProtocols({"tel", "sip"}, "Phone", "Maker"));
    QCOMPARE(filetree::Read(path), list);
    QCOMPARE(QFile::symLinkTarget(link), path);
}

void TestUrlHandlers::desktopsOwnList()
{
    qputenv("XDG_CURRENT_DESKTOP", "Nowhere:Somewhere");
    const QString path = user->ConfigPath("somewhere-mimeapps.list");
    filetree::Write(path, "[Default Applications]\nx-scheme-handler/tel=other.desktop\n"
                          "[Removed Associations]\nx-scheme-handler/tel=Maker.Phone-url-handler.desktop;\n");
    QVERIFY(ClickToCall::registerProtocols({"tel"}, "Phone", "Maker"));
    QVERIFY2(ClickToCall::registerProtocols({"tel"}, "Phone", "Maker"), "once more changes nothing");
    QCOMPARE(filetree::Read(path), "[Default Applications]\nx-scheme-handler/tel="
                                   "Maker.Phone-url-handler.desktop;other.desktop\n");
    QCOMPARE(ClickToCall::stateOfProtocols("Phone", "Maker"), QStringList("tel"));
}

void TestUrlHandlers::relativeDirectories()
{
    const QTemporaryDir work;
    const filetree::CurrentDirectory current(work.path());
    qputenv("XDG_CONFIG_HOME", "config");
    qputenv("XDG_DATA_HOME", "data");
    QVERIFY(ClickToCall::registerProtocols({"tel"}, "Phone", "Maker"));
    QVERIFY(PluginUtils::RegisterPlugin(pluginId));
    QCOMPARE(filetree::Snapshot(work.path()), QStringList());
    const QString home = qEnvironmentVariable("HOME");
    QVERIFY(filetree::Read(home + "/.config/mimeapps.list").contains("x-scheme-handler/tel"));
    QVERIFY(QFile::exists(home + "/.local/share/applications/Maker.Phone-url-handler.desktop"));
}

void TestUrlHandlers::unreadableList()
{
    const QByteArray list = "[Added Associations]\n" + QByteArray("text/plain=a.desktop;\n").repeated(3000);
    filetree::Write(user->ConfigPath("mimeapps.list"), list);
    const RecordingLogger log;
    onRead = [bytes = qsizetype{0}](qsizetype count) mutable { return (bytes += count) < 20000; };
    const bool done = ClickToCall::registerProtocols({"tel"}, "Phone", "Maker");
    onRead = nullptr;
    QVERIFY(done);
    QCOMPARE(filetree::Read(user->ConfigPath("mimeapps.list")), list);
    QVERIFY(log.Contains("/mimeapps.list", "Can't write "));
}

void TestUrlHandlers::listChangedMeanwhile()
{
    const QString path = user->ConfigPath("mimeapps.list");
    QByteArray list = "[Added Associations]\n";
    filetree::Write(path, list);
    onRead = [&, reads = 0](qsizetype count) mutable {
        if (count == 0 && ++reads <= 3) { // Change the file after each complete read.
            list += "a/" + QByteArray::number(reads) + "=b.desktop;\n";
            QFile::remove(path);
            filetree::Write(path, list);
        }
        return true;
    };
    const bool done = ClickToCall::registerProtocols({"tel"}, "Phone", "Maker");
    onRead = nullptr;
    QVERIFY(done);
    QCOMPARE(filetree::Read(path), list + "\n[Default Applications]\n"
                                          "x-scheme-handler/tel=Maker.Phone-url-handler.desktop;\n");
}

// A directory at the path of the store makes each write fail, even for the superuser.
void TestUrlHandlers::refused()
{
    const QString store = user->ConfigPath("vxcommon/registry.ini");
    QVERIFY(QDir().mkpath(store));
    QVERIFY(!ClickToCall::registerProtocols({"tel"}, "Phone", "Maker"));
    QCOMPARE(ClickToCall::stateOfProtocols("Phone", "Maker"), QStringList());
    QVERIFY(!QFile::exists(user->ConfigPath("mimeapps.list")));
    QVERIFY(QDir().rmdir(store));

    QVERIFY(PluginUtils::RegisterPlugin("first"));
    QVERIFY(QFile::setPermissions(store, QFile::ReadOwner | QFile::WriteOwner));
    QVERIFY(PluginUtils::RegisterPlugin(pluginId));
    QVERIFY(!QFile::permissions(store).testFlag(QFile::ReadOther));
    {
        const ResourceLimit bytes(RLIMIT_FSIZE, 100);
        QVERIFY(PluginUtils::UnregisterPlugin("first"));
    }
    QVERIFY(PluginUtils::RegisterPlugin("second"));
    QVERIFY(PluginUtils::IsRegistered("first"));
    QVERIFY(PluginUtils::IsRegistered(pluginId));
    QVERIFY(!filetree::Read(store).contains("RegisteredApplications"));
    QCOMPARE(QDir(user->ConfigPath("vxcommon")).entryList(QDir::Files),
             QStringList({"registry.ini", "registry.writer"}));
}

void TestUrlHandlers::heldStore()
{
    QVERIFY(ClickToCall::registerProtocols({"tel"}, "Phone", "Maker"));
    const QString home = QFileInfo(user->ConfigPath()).path();
    const QStringList before = filetree::Snapshot(home);
    QFile lock(user->ConfigPath("vxcommon/registry.writer"));
    QVERIFY(lock.open(QIODevice::ReadOnly));
    QCOMPARE(flock(lock.handle(), LOCK_SH), 0);
    const RecordingLogger log;
    QElapsedTimer timer;
    timer.start();
    QVERIFY(!ClickToCall::registerProtocols({"sip"}, "Phone", "Maker"));
    QVERIFY(timer.elapsed() < 5000);
    QCOMPARE(log.Lines("common.clicktocall", 7), QStringList("3 ClickToCall::registerProtocols1"));
    QVERIFY(!PluginUtils::RegisterPlugin(pluginId));
    QVERIFY(log.lines.back().text.startsWith("Can't write to registry at "));
    QCOMPARE(filetree::Snapshot(home), before);
}

void TestUrlHandlers::writersAtOnce()
{
    const auto write = [](const QString& writer) {
        bool done = true;
        for (int i = 0; i < 100; ++i) {
            const QString name = writer + QString::number(i);
            done = PluginUtils::RegisterPlugin(name) && done;
            done = (i % 25 > 0 || ClickToCall::registerProtocols({name}, writer, "Maker")) && done;
        }
        return done;
    };
    std::vector<pid_t> children;
    for (const QString writer : {"a", "b", "c", "d"}) {
        children.push_back(fork());
        if (children.back() == 0) {
            _exit(write(writer) ? 0 : 1);
        }
    }
    std::vector<std::future<bool>> threads;
    for (const QString writer : {"e", "f", "g", "h"}) {
        threads.push_back(std::async(std::launch::async, write, writer));
    }
    for (auto& thread : threads) {
        QVERIFY(thread.get());
    }
    for (const pid_t child : children) {
        int status = -1;
        QCOMPARE(waitpid(child, &status, 0), child);
        QCOMPARE(status, 0);
    }
    QCOMPARE(UserTree::Below("Software/Google/Chrome/Extensions").size(), 800);
    QCOMPARE(filetree::Read(user->ConfigPath("mimeapps.list")).count("x-scheme-handler/"), 32);
}

int main(int argc, char* argv[])
{
    const QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == "--callto") { // A click on a link starts this program.
        filetree::Write(qEnvironmentVariable("CALL_RECORD"), arguments.mid(1).join('|').toUtf8());
        return 0;
    }
    TestUrlHandlers test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_urlhandlers.moc"

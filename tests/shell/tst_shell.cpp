#include <common/shell/registryoverrider.h>
#include <common/shell/shell.h>

#include <files/filetree.h>
#include <logger/recordinglogger.h>
#include <table.h>

#include <QCoreApplication>
#include <QTemporaryDir>

#ifdef Q_OS_WIN
#include <qt_windows.h>
#else
#include <dlfcn.h>
#endif

using common::Shell;

class TestShell : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void names();
    void copy_data();
    void copy() { VerifyCall(); }
    void moveDir_data();
    void moveDir() { VerifyCall(); }
    void resources();
    void scanFiles();
    void registration_data();
    void registration();
    void modules();
    void overrider();

private:
    static void VerifyCall();
};

namespace
{

/// Columns: entries before the call, the call, its result, entries after the call ("+": the earlier entries
/// and those listed), and log lines.
auto Calls()
{
    return Table<QString, QString, bool, QString, QStringList>("tree", "call", "result", "after", "lines");
}

/// Calls an operation; "+" sets the parameter `overwrite` or `tolerate` to true.
bool Call(QStringList words)
{
    constexpr auto onlyDirs = QDir::Dirs | QDir::NoDotAndDotDot;
    const bool flag = words.removeAll("+") > 0;
    const QString from = words.value(1);
    const QString to = words.value(2);
    if (words.at(0) == "Copy") {
        return words.size() > 3 ? Shell::Copy(words.mid(3), from, to, flag) : Shell::Copy(from, to, flag);
    }
    return words.at(0) == "CopyDir" ? Shell::CopyDir(from, to, onlyDirs, flag) : Shell::MoveDir(from, to);
}

QString Failed(const QString& source, const QString& destination)
{
    return QString("3 Copy file '%1' to '%2' failed!").arg(source, destination);
}

#ifdef Q_OS_WIN
const QStringList userOverride{"7 Restoring ovveridden key"};

/// Returns whether the component has created its key below `root`.
bool IsMarked(HKEY root)
{
    HKEY key = nullptr;
    const auto error = RegOpenKeyW(root, L"Software\\Classes\\vxcommon.test.component", &key);
    RegCloseKey(key);
    return error == ERROR_SUCCESS;
}
#else
const QStringList userOverride;
#endif

constexpr auto channel = "common.shell";

} // namespace

void TestShell::names()
{
    const QString first = Shell::TempPath();
    const QString second = Shell::TempPath();
    QVERIFY(first.startsWith(QDir::toNativeSeparators(QDir::tempPath() + "/QUOLL_")));
    QVERIFY(first.endsWith("_100"));
    QVERIFY(second.endsWith("_101"));
    QVERIFY(!QFileInfo::exists(first));
    QCOMPARE(Shell::applicationDirPath(), QCoreApplication::applicationDirPath());
}

void TestShell::copy_data()
{
    const auto row = Calls();
    row("copy into folders that are missing", "a=1", "Copy a x/y/b", true, "+x/y/b=1", {});
    row("existing, kept", "a=1, b=2", "Copy a b", false, "+", {Failed("a", "b")});
    row("existing, replaced", "a=1, b=2", "Copy a b +", true, "a=1, b=1", {});
    row("folder in the way", "a=1, d/", "Copy a d +", false, "+",
        {"3 Failed to remove file 'd'.", Failed("a", "d")});
    row("file where a folder is needed", "a=1, b=2", "Copy a b/c", false, "+",
        {"3 Failed to create path 'ROOT/b'.", Failed("a", "b/c")});
    row("onto itself", "d/a=1", "Copy d/a d/../d/./a +", false, "+", {Failed("d/a", "d/../d/./a")});
    row("list, up to the first failure", "from/1=1, from/sub/2=2, from/3=3", "Copy from to 1 sub/2 none 3",
        false, "+to/1=1, to/sub/2=2", {Failed("from/none", "to/none")});
#ifdef Q_OS_UNIX
    row("dots behind a link", "a/b/x=1, a/y=2, l->a/b, y=3", "Copy l/../y l/../z/y", true, "+a/z/y=2", {});
    row("copy of a fifo", "p|, l->p", "Copy l b", false, "+", {Failed("l", "b")});
    row("links to nothing only", "from/l->none", "CopyDir from to", true, "+", {});
#else
    row("period that Windows drops", "a=1", "Copy a a. +", false, "+", {Failed("a", "a.")});
#endif

    row("tree makes its destination", "from/a/b/x=1, from/y=2", "CopyDir from to", true,
        "+to/a/b/x=1, to/y=2", {});
    row("flat, destination missing", "from/x=1", "CopyDir from to", false, "+", {});
    row("flat, destination there", "from/x=1, from/.h=2, to/", "CopyDir from to", true,
        "from/.h=2, from/x=1, to/x=1", {});
    row("existing file, tolerated", "from/x=1, from/y=2, to/x=3", "CopyDir from to +", true, "+to/y=2", {});
    row("not tolerated below", "from/a/x=1, to/a/x=2", "CopyDir from to +", false, "+", {});
    row("no source", "to/x=1", "CopyDir from to +", false, "+", {});
    row("no names", "a/x=1", "CopyDir   +", false, "+", {});
    row("into itself, not there yet", "from/a/x=1", "CopyDir from from/a/new +", false, "+from/a/new/a/", {});
#ifdef Q_OS_UNIX
    row("endless tree", "from/a/up->.., to/", "CopyDir from to", false, "from/a/up->.., to/a/", {});
    row("directory linked twice", "from/k->../d, from/l->../d, d/x=1", "CopyDir from to", true,
        "+to/k/x=1, to/l/x=1", {});
#endif
}

void TestShell::moveDir_data()
{
    const auto row = Calls();
    const QString noDrive = "3 MoveDir: source or destination dir is not absolute path: ";
    const QString notCopied = "3 MoveDir: failed to copy dir: ";
    row("no drive", "from/a/.h=1", "MoveDir from to", true, "to/a/.h=1", {noDrive + "from to"});
#ifdef Q_OS_UNIX
    // On Unix, "c:" is a directory, not a drive.
    row("no drive at the source", "from/a/1=1, c:/", "MoveDir from c:/to", true, "c:/to/a/1=1",
        {noDrive + "from c:/to"});
    row("same drive", "c:/from/a/.h=1", "MoveDir c:/from c:/to", true, "c:/to/a/.h=1", {});
    row("another drive", "c:/from/a/1=1, C:/to/", "MoveDir c:/from C:/to", true, "C:/to/a/1=1, c:/", {});
    row("another drive, flat", "c:/from/1=1, C:/", "MoveDir c:/from C:/to", false, "+",
        {notCopied + "c:/from -> C:/to"});
    row("dangling link", "c:/from/a/1=1, c:/from/a/l->none, C:/to/", "MoveDir c:/from C:/to", false, "+",
        {notCopied + "c:/from -> C:/to"});
    row("fifo", "c:/from/a/p|, C:/to/", "MoveDir c:/from C:/to", false, "+",
        {notCopied + "c:/from -> C:/to"});
    row("move into itself", "c:/from/.h/, c:/from/1=1, C:->c:", "MoveDir c:/from C:/from/.h", false, "+",
        {notCopied + "c:/from -> C:/from/.h"});
    row("move onto what it would remove", "c:/a/b/b/1=1, C:->c:", "MoveDir c:/a/b C:/a", false, "+",
        {notCopied + "c:/a/b -> C:/a"});
    row("source that stays", "c:/real/1=1, c:/from->real, C:/to/", "MoveDir c:/from C:/to", true,
        "C:/to/1=1, c:/from->real, c:/real/", {"4 MoveDir: failed to delete source dir: c:/from"});
#endif
}

void TestShell::VerifyCall()
{
    QFETCH(QString, tree);
    QFETCH(QString, call);
    QFETCH(QString, after);
    QFETCH(QStringList, lines);

    const QTemporaryDir dir;
    const filetree::CurrentDirectory current(dir.path());
    filetree::Build(dir.path(), tree.split(", "));
    QStringList expected = after.split(", ");
    if (after.startsWith('+')) {
        expected = filetree::Snapshot(dir.path()) + after.mid(1).split(", ", Qt::SkipEmptyParts);
    }
    expected.sort();
    const RecordingLogger log;
    QTEST(Call(call.split(' ')), "result");
    QCOMPARE(filetree::Snapshot(dir.path()), expected);
    QCOMPARE(log.Lines(channel, 7, dir.path()), lines);
    QCOMPARE(log.lines.size(), std::size_t(lines.size())); // No other channel.
}

// Resource directories have no file identifier; they must not be taken for directories that contain
// themselves.
void TestShell::resources()
{
    const QTemporaryDir dir;
    const QStringList files = Shell::ScanFiles(":/qt-project.org", {});
    QVERIFY(files.size() > 1);
    QVERIFY(Call({"CopyDir", ":/qt-project.org", dir.path()}));
    QCOMPARE(Shell::ScanFiles(dir.path(), {}).size(), files.size());
}

void TestShell::scanFiles()
{
    const QTemporaryDir dir;
    filetree::Build(dir.path(), {"s/x.txt=", "s/txt.d/y.txt=", "s/txt.d/z.bin=", "s/.h=", "s/e/"});
    const QString path = dir.filePath("s");
    const auto scan = [&path](const QStringList& filters) {
        return Shell::ScanFiles(path, filters).replaceInStrings(path + '/', "");
    };
    QCOMPARE(scan({}), QStringList({"txt.d/y.txt", "txt.d/z.bin", "x.txt"}));
    QCOMPARE(scan({"*TXT*"}), QStringList({"txt.d/y.txt", "x.txt"}));
    QCOMPARE(scan({"*.bin", "txt*"}), QStringList{"txt.d/z.bin"});
    QCOMPARE(Shell::ScanFiles(dir.filePath("none"), {}) + Shell::ScanFiles(path + "/x.txt", {}),
             QStringList());
#ifdef Q_OS_UNIX
    filetree::Build(dir.path(), {"s/up->..", "s/k->e", "s/l->e", "s/e/gone->x", "s/e/p|",
                                 "far/s/a=", "far/b/c=", "m->far/b"});
    QCOMPARE(scan({"k", "l", "gone", "p", "x*", "up"}),
             QStringList({"k/gone", "k/p", "l/gone", "l/p", "x.txt"}));
    QCOMPARE(Shell::ScanFiles(dir.filePath("m/../s"), {}), QStringList{dir.filePath("far/s/a")});
#endif
}

void TestShell::registration_data()
{
    const Table<bool, unsigned long, QStringList> row("admin", "result", "lines");
    row("user", false, 0, userOverride);
    row("admin", true, 0, {});
    row("E_FAIL", false, 0x80004005,
        userOverride + QStringList("3 Failed to invoke DllRegisterServer(): 0x80004005"));
}

void TestShell::registration()
{
    QFETCH(bool, admin);
    QFETCH(unsigned long, result);
    QFETCH(QStringList, lines);

    qputenv("COMPONENT_RESULT", QByteArray::number(qulonglong{result}, 16));
    const QString tail = QString("egistering DLL: '%1' from %2").arg(COMPONENT, admin ? "admin" : "user");
    RecordingLogger log;
#ifdef Q_OS_WIN
    HKEY key = nullptr; // Every Windows user has this key; a new Wine prefix lacks it.
    QCOMPARE(RegCreateKeyW(HKEY_CURRENT_USER, L"Software\\Classes", &key), ERROR_SUCCESS);
    RegCloseKey(key);
#endif
    QCOMPARE(Shell::RegisterComponent(COMPONENT, admin), result);
    QCOMPARE(log.Lines(channel, 7), QStringList("7 R" + tail) + lines);
    log.lines.clear();
#ifdef Q_OS_WIN
    QCOMPARE(IsMarked(HKEY_CURRENT_USER), !admin);
    QCOMPARE(IsMarked(HKEY_LOCAL_MACHINE), admin);
#endif
    QVERIFY2(Shell::ProcessModules(COMPONENT).isEmpty(), "it stays loaded");
    QCOMPARE(Shell::UnregisterComponent(COMPONENT, admin), result);
    QCOMPARE(log.Lines(channel, 7),
             QStringList("7 Unr" + tail) + lines.replaceInStrings("DllReg", "DllUnreg"));
#ifdef Q_OS_WIN
    QVERIFY(!IsMarked(HKEY_CURRENT_USER));
    QVERIFY(!IsMarked(HKEY_LOCAL_MACHINE));
#endif
}

void TestShell::modules()
{
    const QStringList all = Shell::ProcessModules("");
    const QString executable = QDir::toNativeSeparators(QCoreApplication::applicationFilePath());
    QCOMPARE(all.value(0).toLower(), executable.toLower());
    QCOMPARE(Shell::ProcessModules("Qt6Core"), all.filter("Qt6Core"));
    for (const QString& path : all) {
        QVERIFY2(QFileInfo(path).isFile(), qPrintable(path));
    }
#ifdef Q_OS_UNIX
    const QFileInfo component(COMPONENT);
    QDir::setCurrent(component.path());
    void* const library = dlopen(QFile::encodeName("./" + component.fileName()).constData(), RTLD_NOW);
    QVERIFY(library != nullptr);
    QDir::setCurrent("/");
    QCOMPARE(Shell::ProcessModules(COMPONENT), QStringList(component.canonicalFilePath()));
    dlclose(library);
#endif
}

void TestShell::overrider()
{
    const RecordingLogger log;
    static_cast<void>(common::RegistryOverrider("HKEY_CLASSES_ROOT", "HKEY_CURRENT_USER", L"Software"));
#ifdef Q_OS_WIN
    QCOMPARE(log.Lines(channel, 7), userOverride);
#else
    QCOMPARE(log.Lines(channel, 7), QStringList("3 Failed to open dstKey: 0x      78"));
#endif
}

QTEST_GUILESS_MAIN(TestShell)
#include "tst_shell.moc"

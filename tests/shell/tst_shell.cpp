#include <common/shell/shell.h>

#include <files/filetree.h>
#include <logger/recordinglogger.h>

#include <QCoreApplication>
#include <QLocale>
#include <QTemporaryDir>
#include <QTest>

using common::Shell;

class TestShell : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void fixedAnswers();
    void files_data();
    void files();
    void scanFiles();
};

namespace
{

/// "c:/NAME" and "C:/NAME" are NAME in the current folder with its drive before it; where there are no
/// drives, they are what they look like.
QString Place(const QString& path)
{
    const bool hasDrive = path.startsWith("c:/") || path.startsWith("C:/");
    return hasDrive && QDir::currentPath().contains(':')
               ? path.front() + QDir::currentPath().mid(1) + path.mid(2)
               : path;
}

/// Entries between commas as they stand in a tree, without drives where `Place` knows these.
QStringList Entries(QString list)
{
    if (QDir::currentPath().contains(':')) {
        list.remove("c:/").remove("C:/");
    }
    return list.split(", ", Qt::SkipEmptyParts);
}

/// Calls an operation; "+" at its end lets a copy overwrite or tolerate.
bool Call(QStringList words)
{
    constexpr auto onlyDirs = QDir::Dirs | QDir::NoDotAndDotDot;
    const bool flag = words.removeAll("+") > 0;
    const QString name = words.takeFirst();
    const QString from = Place(words.value(0));
    const QString to = Place(words.value(1));
    if (name == "Copy") {
        return Shell::Copy(from, to, flag);
    }
    if (name == "CopyList") {
        return Shell::Copy(words.mid(2), from, to, flag);
    }
    return name == "CopyDir" ? Shell::CopyDir(from, to, onlyDirs, flag) : Shell::MoveDir(from, to);
}

/// Entries of the tree before; call; result; entries after, behind "+" only those that came anew; the log.
void AddRow(const char* name, const QString& tree, const QString& call, bool result, const QString& after,
            const QStringList& lines = QStringList())
{
    QTest::newRow(name) << tree << call << result << after << lines;
}

QString Failed(const QString& source, const QString& destination)
{
    return QString("3: Copy file '%1' to '%2' failed!").arg(source, destination);
}

void AddCopies()
{
    AddRow("copy into folders that are missing", "a=1", "Copy a x/y/b", true, "+x/y/b=1");
    AddRow("existing, kept", "a=1, b=2", "Copy a b", false, "+", {Failed("a", "b")});
    AddRow("existing, replaced", "a=1, b=2", "Copy a b +", true, "a=1, b=1");
    AddRow("folder in the way", "a=1, d/", "Copy a d +", false, "+",
           {"3: Failed to remove file 'd'.", Failed("a", "d")});
    AddRow("file where a folder is needed", "a=1, b=2", "Copy a b/c", false, "+",
           {"3: Failed to create path 'DIR/b'.", Failed("a", "b/c")});
    AddRow("lost by overwriting with nothing", "b=2", "Copy a b +", false, "", {Failed("a", "b")});
    AddRow("copy of a folder", "d/a=1", "Copy d e", false, "+", {Failed("d", "e")});
    AddRow("onto itself", "d/a=1", "Copy d/a d/../d/./a +", false, "+", {Failed("d/a", "d/../d/./a")});
    AddRow("list, up to the first failure", "from/1=1, from/sub/2=2, from/3=3",
           "CopyList from to 1 sub/2 none 3", false, "+to/1=1, to/sub/2=2", {Failed("from/none", "to/none")});
    AddRow("empty list", "a=1", "CopyList from to", true, "+");
    AddRow("list in no folder", "a=1", "CopyList   a", false, "+",
           {"3: Failed to create path ''.", Failed("", "")});
#ifdef Q_OS_UNIX
    AddRow("case is all that differs", "d/a=1, D/", "Copy d/a D/a", true, "D/a=1, d/a=1");
    AddRow("onto itself through a link", "a=1, l->a", "Copy l a +", false, "+", {Failed("l", "a")});
    AddRow("dots behind a link", "a/b/x=1, a/y=2, l->a/b, y=3", "Copy l/../y l/../z/y", true, "+a/z/y=2");
    AddRow("copy of a fifo", "p|, l->p", "Copy l b", false, "+", {Failed("l", "b")});
#endif
}

void AddDirectories()
{
    AddRow("tree makes its destination", "from/a/b/x=1, from/y=2", "CopyDir from to", true,
           "+to/a/b/x=1, to/y=2");
    AddRow("flat, destination missing", "from/x=1", "CopyDir from to", false, "+");
    AddRow("flat, destination missing, tolerated", "from/x=1", "CopyDir from to +", true, "+");
    AddRow("flat, destination there", "from/x=1, from/.h=2, to/", "CopyDir from to", true,
           "from/.h=2, from/x=1, to/x=1");
    AddRow("existing file", "from/x=1, to/x=2", "CopyDir from to", false, "+");
    AddRow("existing file, tolerated", "from/x=1, from/y=2, to/x=3", "CopyDir from to +", true, "+to/y=2");
    AddRow("not tolerated below", "from/a/x=1, to/a/x=2", "CopyDir from to +", false, "+");
    AddRow("a file where a directory is needed", "from/a/x=1, to/a=2", "CopyDir from to +", false, "+");
    AddRow("no source", "to/x=1", "CopyDir from to +", false, "+");
    AddRow("no names", "a/x=1", "CopyDir   +", false, "+");
    AddRow("into itself", "from/a/x=1", "CopyDir from from/a +", false, "+");
    AddRow("into itself, not there yet", "from/a/x=1", "CopyDir from from/a/new +", false, "+from/a/new/a/");
#ifdef Q_OS_UNIX
    AddRow("onto its parent", "a/b/b/x=1", "CopyDir a/b a", true, "+a/b/x=1, a/x=1");
    AddRow("endless tree", "from/a/up->.., to/", "CopyDir from to", false, "from/a/up->.., to/a/");
    AddRow("directory linked twice", "from/k->../d, from/l->../d, d/x=1", "CopyDir from to", true,
           "+to/k/x=1, to/l/x=1");
#endif
}

void AddMoves()
{
    const QString noDrive = "3: MoveDir: source or destination dir is not absolute path: ";
    const QString notCopied = "3: MoveDir: failed to copy dir: ";
    AddRow("same drive", "c:/from/a/.h=1", "MoveDir c:/from c:/to", true, "c:/to/a/.h=1");
    AddRow("same drive, nothing there", "c:/", "MoveDir c:/from c:/to", false, "+");
    AddRow("no drive", "from/a/.h=1", "MoveDir from to", true, "to/a/.h=1", {noDrive + "from to"});
    AddRow("no drive at the source", "from/a/1=1, c:/", "MoveDir from c:/to", true, "c:/to/a/1=1",
           {noDrive + "from c:/to"});
    AddRow("another drive", "c:/from/a/1=1, C:/to/", "MoveDir c:/from C:/to", true, "C:/to/a/1=1, c:/");
    AddRow("another drive, flat", "c:/from/1=1, C:/", "MoveDir c:/from C:/to", false, "+",
           {notCopied + "c:/from -> C:/to"});
#ifdef Q_OS_UNIX
    AddRow("move into itself", "c:/from/.h/, c:/from/1=1, C:->c:", "MoveDir c:/from C:/from/.h", false, "+",
           {notCopied + "c:/from -> C:/from/.h"});
    AddRow("move onto what it would remove", "c:/a/b/b/1=1, C:->c:", "MoveDir c:/a/b C:/a", false, "+",
           {notCopied + "c:/a/b -> C:/a"});
    AddRow("source that stays", "c:/real/1=1, c:/from->real, C:/to/", "MoveDir c:/from C:/to", true,
           "C:/to/1=1, c:/from->real, c:/real/", {"4: MoveDir: failed to delete source dir: c:/from"});
#else
    AddRow("move into itself", "from/.h/, from/1=1", "MoveDir c:/from C:/from/.h", false, "+",
           {notCopied + "c:/from -> C:/from/.h"});
    AddRow("source that stays", "from/held=1, to/", "MoveDir c:/from C:/to", true, "from/held=1, to/held=1",
           {"4: MoveDir: failed to delete source dir: c:/from"});
#endif
}

} // namespace

void TestShell::fixedAnswers()
{
    const QStringList first = Shell::TempPath().split(u'_');
    const QString path = Shell::TempPath();
    QCOMPARE(first.value(2), "100");
    QVERIFY(QDateTime::fromString(first.value(1), "yyyyMMddHHmmss").isValid());
    QVERIFY(path.endsWith("_101"));
    QVERIFY(path.startsWith(QDir::toNativeSeparators(QDir::tempPath() + "/QUOLL_")));
    QVERIFY(!QFileInfo::exists(path));
    QVERIFY(Shell::Is64BitSystem());
    QVERIFY(!Shell::IsQuickLaunchAvailable());
    QCOMPARE(Shell::applicationDirPath(), QCoreApplication::applicationDirPath());
    QCOMPARE(Shell::LocaleName(), QLocale::system().uiLanguages().value(0, QLocale::system().name()));
    QCOMPARE(Shell::QuickLaunchPath(),
             QDir::toNativeSeparators(Shell::AppPath() + "/Microsoft/Internet Explorer/Quick Launch"));
}

void TestShell::files_data()
{
    QTest::addColumn<QString>("tree");
    QTest::addColumn<QString>("call");
    QTest::addColumn<bool>("result");
    QTest::addColumn<QString>("after");
    QTest::addColumn<QStringList>("lines");
    AddCopies();
    AddDirectories();
    AddMoves();
}

void TestShell::files()
{
    QFETCH(QString, tree);
    QFETCH(QString, call);
    QFETCH(bool, result);
    QFETCH(QString, after);
    QFETCH(QStringList, lines);

    const QTemporaryDir dir;
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(dir.path()));
    filetree::Build(dir.path(), Entries(tree));
    QStringList expected = Entries(after.startsWith('+') ? after.mid(1) : after);
    if (after.startsWith('+')) {
        expected = filetree::Snapshot(dir.path()) + expected;
    }
    expected.sort();
    const RecordingLogger log;
    QFile held(dir.filePath("from/held")); // Cannot be removed on Windows.
    held.open(QIODevice::ReadOnly);
    const bool answer = Call(call.split(' '));
    held.close();
    // Where paths begin with a drive, the rows leave out what stands between it and the folder.
    const QString way = dir.path().contains(':') ? dir.path().mid(2) : QString();
    QStringList told;
    for (const auto& line : log.lines) {
        told += QString("%1: %2").arg(line.level).arg(QDir::fromNativeSeparators(line.text).remove(way));
        QCOMPARE(line.channel, "common.shell");
    }
    QDir::setCurrent(before);
    QCOMPARE(answer, result);
    QCOMPARE(filetree::Snapshot(dir.path()), expected);
    QCOMPARE(told, lines.replaceInStrings("DIR", dir.path().remove(way)));
}

void TestShell::scanFiles()
{
    const QTemporaryDir dir;
    filetree::Build(dir.path(), {"s/x.txt=", "s/txt.d/y.txt=", "s/txt.d/z.bin=", "s/.h=", "s/e/"});
    QString path = dir.filePath("s");
    const auto scan = [&path](const QStringList& filters) {
        QStringList found;
        for (const QString& file : Shell::ScanFiles(path, filters)) {
            found += file.startsWith(path + '/') ? file.mid(path.size() + 1) : "elsewhere " + file;
        }
        return found;
    };
    QCOMPARE(scan({}), QStringList({"txt.d/y.txt", "txt.d/z.bin", "x.txt"}));
    QCOMPARE(scan({"*TXT*"}), QStringList({"txt.d/y.txt", "x.txt"}));
    QCOMPARE(scan({"*.bin", "txt*"}), QStringList{"txt.d/z.bin"});
    QCOMPARE(Shell::ScanFiles(dir.filePath("none"), {}) + Shell::ScanFiles(path + "/x.txt", {}),
             QStringList());
#ifdef Q_OS_UNIX
    filetree::Build(dir.path(), {"s/up->..", "s/k->e", "s/l->e", "s/e/gone->x", "s/e/p|",
                                 "far/s/a=", "far/b/c=", "m->far/b"});
    filetree::Write(filetree::ToPath(path) / "no text \xff", {});
    QCOMPARE(scan({"k", "l", "gone", "p", "x*", "up"}),
             QStringList({"k/gone", "k/p", "l/gone", "l/p", "x.txt"}));
    QCOMPARE(Shell::ScanFiles(dir.filePath("m/../s"), {}), QStringList{dir.filePath("far/s/a")});
    QVERIFY(std::filesystem::remove(filetree::ToPath(path) / "no text \xff"));
#endif
}

QTEST_GUILESS_MAIN(TestShell)
#include "tst_shell.moc"

/// What the copier, the remover and the helper make of a tree: signals, files, log.

#include "filetree.h"
#include "jobrecorder.h"

#include <QTemporaryDir>

using common::FileHelper;

class TestFileJobs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void copier_data();
    void copier() { CheckJob("shell.filecopy"); }
    void remover_data();
    void remover() { CheckJob("shell.fileremove"); }
    void helper_data();
    void helper() { CheckJob("no channel"); }
    void startsAgain();
#ifdef Q_OS_WIN
    void filesThatStay();
#endif

private:
    static void CheckJob(const char* channel);
};

namespace
{

QStringList Split(const QString& list)
{
    return list.split(", ", Qt::SkipEmptyParts);
}

/// Entries of the tree before; work; signals; entries after, behind "+" only those that came anew; lines in
/// the log up to a level.
void AddRow(const char* name, const QString& tree, const QString& work, const QString& seen,
            const QString& after, const QStringList& lines = QStringList(), int level = 4)
{
    QTest::newRow(name) << tree << work << seen << after << lines << level;
}

void AddColumns()
{
    for (const char* name : {"tree", "work", "seen", "after"}) {
        QTest::addColumn<QString>(name);
    }
    QTest::addColumn<QStringList>("lines");
    QTest::addColumn<int>("level");
}

const QString exists = "4 'ROOT/%1' already exists. Trying to remove before coping...";

QString CopyingFailed(const QString& from, const QString& to, int code)
{
    return QString("3 Copying from 'ROOT/%1' to 'ROOT/%2' failed with error '%3'!")
        .arg(from, to, QString::number(code));
}

/// A copy that is refused since it would destroy its source.
void AddSameFile(const char* name, const QString& tree, const QString& from, const QString& to)
{
    AddRow(name, tree, "F " + from + ' ' + to, "failed 700107", "+",
           {QString("3 'ROOT/%1' and 'ROOT/%2' are the same file").arg(from, to),
            CopyingFailed(from, to, 700107)});
}

#ifdef Q_OS_UNIX
void AddCopiesOfThePlatform()
{
    AddRow("links in a tree", "s/up->../a, s/d/l->../e, s/e/y=2, s/gone->no/where, s/loop->loop", "D s t",
           "1/5, 2/5, 3/5, 4/5, 5/5, done",
           "+t/d/l->../e, t/e/y=2, t/gone->no/where, t/loop->loop, t/up->../a");
    AddRow("links below a relative path", "s/d/l->../e, s/e/y=2, k->x/y, x/y/, x/s2/d/l->../e, x/s2/e/",
           "D ./s t, D k/../s2 u", "1/3, 2/3, 3/3, done", "+t/d/l->../e, t/e/y=2, u/d/l->../e");
    AddRow("log of a link", "s/l->a", "D s t", "1/1, done", "+t/l->a",
           {"7 Copy", "7 Start scanning directories...", "7 Found symlink: 'l'.",
            "7 Directories scanning finished.",
            "7 Successfully copied link from 'ROOT/s/l' to 'ROOT/t/l' -> 'a'.",
            "6 Copying finished in N msec."},
           7);
    AddRow("absolute link becomes relative", "l->/dev/null", "L l t/l", "1/1, done", "+t/l->UP/dev/null");
    AddRow("pair as file and as link", "a=1, l->a", "L l m, F l m", "1/2, 2/2, done", "+m=1",
           {exists.arg("m")});
    AddRow("links and files replaced", "a=1, l->a, x=2, y->gone, z->a", "L l x, F a y, F a z",
           "1/3, 2/3, 3/3, done", "a=1, l->a, x->a, y=1, z=1",
           {exists.arg("y"), exists.arg("z"), exists.arg("x")});
    const QString longName(255, 'n');
    AddRow("names", "s/a\nb=1, s/%1 %2=2, s/\\=3, s/:d/e=5, s/" + longName + "=4", "D s t",
           "1/5, 2/5, 3/5, 4/5, 5/5, done", "+t/%1 %2=2, t/:d/e=5, t/\\=3, t/a\nb=1, t/" + longName + "=4");
    AddRow("dots behind a link", "x/y/z=1, x/s/d/a=2, l->x/y, s/d/b=3", "D l/../s t, F s/d/b l/../u/b",
           "1/2, 2/2, done", "+t/d/a=2, x/u/b=3");
    AddRow("fifo", "s/x|, t/x=old", "D s t", "failed 700107", "+",
           {"3 Cannot copy from 'ROOT/s/x' to 'ROOT/t/x'", CopyingFailed("s/x", "t/x", 700107)});
    AddRow("device behind a link", "l->/dev/zero", "F l t", "failed 700107", "+",
           {"3 Cannot copy from 'ROOT/l' to 'ROOT/t'", CopyingFailed("l", "t", 700107)});
    AddRow("file without a size", "a=1", "F ./a t/a, F /proc/sys/kernel/ostype t/b", "1/2, 2/2, done",
           "+t/a=1, t/b=Linux\n");
    AddSameFile("onto what a link in a linked folder leads to", "d/e/l->../a, d/a=1, f->d/e", "f/l", "d/a");
    AddSameFile("a link to a directory onto itself", "d/a=1, l->d", "l", "l");
    AddRow("onto another name of the same file", "a=1, h=>a", "F a h", "1/1, done", "+", {exists.arg("h")});
    AddSameFile("itself through a linked folder", "d/a=1, e->d", "d/a", "e/a");
}
#else
void AddCopiesOfThePlatform()
{
    AddRow("slashes both ways", "s/d/a=1", "D s\\d/ t\\x", "1/1, done", "+t/x/a=1");
    AddRow("no source shortcut", "a=1", "L l.lnk t/l.lnk", "failed 700103", "+",
           {"3 Source file 'ROOT/l.lnk' doesn't exist!", CopyingFailed("l.lnk", "t/l.lnk", 700103)});
}
#endif

} // namespace

void TestFileJobs::copier_data()
{
    AddColumns();
    AddRow("nothing to do", "a=1", "", "done", "+");
    AddRow("files", "a=1, b=", "F a ./t/a, F b t/x/y/b", "1/2, 2/2, done", "+t/a=1, t/x/y/b=");
    AddRow("tree without its hidden and empty parts", "s/d/a=1, s/d/e/b=2, s/f/g/, s/.h=3, s/.i/c=4", "D s t",
           "1/2, 2/2, done", "+t/d/a=1, t/d/e/b=2");
    AddRow("tree into itself", "t/a=1", "D t t/d", "1/1, done", "+t/d/a=1");
    AddRow("log of a job", "s/a=1, t/a=old", "D s t", "1/1, done", "s/a=1, t/a=1",
           {"7 Copy", "7 Start scanning directories...", "7 Directories scanning finished.",
            exists.arg("t/a"), "7 Successfully copied from 'ROOT/s/a' to 'ROOT/t/a'",
            "6 Copying finished in N msec."},
           7);
    AddRow("no source directory", "a=1, s/b=2", "F a t/a, D s t, D x t", "failed 700102", "+",
           {"4 Path 'ROOT/x' doesn't exists!", "3 Scanning directory 'ROOT/x' failed with error '700102'!"});
    AddRow("no source file", "a=1", "F a t/a, F b t/b, F a t/c", "1/3, failed 700103", "+t/a=1",
           {"3 Source file 'ROOT/b' doesn't exist!", CopyingFailed("b", "t/b", 700103)});
    AddRow("folder cannot be made", "a=1, t=2", "F a t/x/a", "failed 700104", "+",
           {"3 Cannot create path to 'ROOT/t/x/a'", CopyingFailed("a", "t/x/a", 700104)});
    AddRow("no destination", "s/a=1", "D s", "failed 700104", "+",
           {"3 Cannot create path to ''", "3 Copying from 'ROOT/s/a' to '' failed with error '700104'!"});
    AddRow("destination is a directory", "a=1, d/", "F a d", "failed 700106", "+",
           {exists.arg("d"), "3 Cannot remove 'ROOT/d'!", CopyingFailed("a", "d", 700106)});
    AddRow("source is a directory", "d/a=1", "F d t", "failed 700107", "+",
           {"3 Cannot copy from 'ROOT/d' to 'ROOT/t'", CopyingFailed("d", "t", 700107)});
    AddSameFile("onto itself another way", "d/a=1", "d/a", "d/../d/./a");
    AddCopiesOfThePlatform();
}

void TestFileJobs::remover_data()
{
    AddColumns();
    const QString noDirectory = "4 Directory 'ROOT/%1' doesn't exist!";
    const QString noFile = "4 File 'ROOT/%1' doesn't exist!";
    AddRow("what is missing", "a=1", "D x, F y, F a", "1/3, 2/3, 3/3, done", "",
           {"4 Path 'ROOT/x' doesn't exists!", noFile.arg("y"), noDirectory.arg("x")});
    AddRow("empty path", "a=1, b/c=2", "D", "1/1, done", "+",
           {"4 Path '' doesn't exists!", "4 Directory '' doesn't exist!"});
    AddRow(
        "hidden file", "d/.h=1, d/a=2", "D d", "1/2, failed 700203", "d/.h=1",
        {"3 Cannot remove directory 'ROOT/d'!", "3 Removing directory 'ROOT/d' failed with error '700203'!"});
    AddRow("directory added as file", "d/a=1", "F d", "failed 700204", "+",
           {"3 Cannot remove file 'ROOT/d'!", "3 Removing file 'ROOT/d' failed with error '700204'!"});
    AddRow("roots that overlap", "d/e/a=1", "D ./d/, D d/e", "1/5, 2/5, 3/5, 4/5, 5/5, done", "",
           {noFile.arg("d/e/a"), noDirectory.arg("d/e")});
    AddRow("order and log", "b/c/d/a=1, e/f/, g=1", "D b, D e, F g",
           "1/7, 2/7, 3/7, 4/7, 5/7, 6/7, 7/7, done", "",
           {"7 Remove", "7 Start scanning directories...", "7 Found directory: 'c'.",
            "7 Found directory: 'c/d'.", "7 Found directory: 'f'.", "7 Directories scanning finished.",
            "7 Successfully removed file 'ROOT/g'", "7 Successfully removed file 'ROOT/b/c/d/a'",
            "7 Successfully removed directory 'ROOT/e/f'", "7 Successfully removed directory 'ROOT/b/c/d'",
            "7 Successfully removed directory 'ROOT/b/c'", "7 Successfully removed directory 'ROOT/b'",
            "7 Successfully removed directory 'ROOT/e'", "6 Removing finished in N msec."},
           7);
#ifdef Q_OS_UNIX
    AddRow("links and a fifo", "d/l->../e, d/gone->x, d/loop->loop, d/p|, m->e, e/a\nb=1", "D d, F m",
           "1/6, 2/6, 3/6, 4/6, 5/6, 6/6, done", "e/a\nb=1");
    AddRow("dots behind a link", "x/y/z=1, x/d/e/a=2, x/b=3, l->x/y, d/e/a=4, b=5", "D l/../d, F l/../b",
           "1/4, 2/4, 3/4, 4/4, done", "b=5, d/e/a=4, l->x/y, x/y/z=1");
#endif
}

void TestFileJobs::helper_data()
{
    AddColumns();
    AddRow("missing and empty paths", "a=1, b/c=2", "D x, F x, D", "", "+");
    AddRow("empty directory and files besides", "d/, a=1, b=2", "D d, F b, F a",
           "found d 1, found b 2, found a 3, d 1/3, b 2/3, a 3/3", "");
    AddRow("content before directory", "d/e/a=1", "D d",
           "found d/e/a 1, found d/e 2, found d 3, d/e/a 1/3, d/e 2/3, d 3/3", "");
    AddRow("filters hide a file and a directory", "d/a.txt=1, e/x/a.txt=2, d/b=3",
           "N *.txt, N *.bin, D d, D e",
           "found d/a.txt 1, found d 2, found e 3, d/a.txt 1/3, d 2/3, failed d, e 3/3, failed e",
           "d/b=3, e/x/a.txt=2");
#ifdef Q_OS_UNIX
    AddRow("link to a directory", "d/l->../e, e/a=1", "D d", "found d/l 1, found d 2, d/l 1/2, d 2/2",
           "e/a=1");
    AddRow("dots behind a link", "d/a=1, x/y/z=2, x/d/e/a=3, x/b=4, b=5, l->x/y", "D l/../d, F l/../b",
           "found x/d/e/a 1, found x/d/e 2, found x/d 3, found b 4, "
           "x/d/e/a 1/4, x/d/e 2/4, x/d 3/4, x/b 4/4",
           "b=5, d/a=1, l->x/y, x/y/z=2");
#endif
}

void TestFileJobs::CheckJob(const char* channel)
{
    QFETCH(QString, tree);
    QFETCH(QString, work);
    QFETCH(QString, seen);
    QFETCH(QString, after);
    QFETCH(QStringList, lines);
    QFETCH(int, level);

    const QTemporaryDir folder;
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(folder.path()));
    filetree::Build(folder.path(), Split(tree));
    // What leads out of the folder goes through the root of the file system.
    after.replace("UP/", QString("../").repeated(folder.path().count('/')));
    QStringList expected = Split(after.startsWith('+') ? after.mid(1) : after);
    if (after.startsWith('+')) {
        expected = filetree::Snapshot(folder.path()) + expected;
        expected.sort();
    }
    if (const QString end = seen.section(", ", -1); end.startsWith("failed 7")) {
        const char* const activity = qstrcmp(channel, "shell.filecopy") == 0 ? "Copying" : "Removing";
        lines += QString("3 %1 failed with error '%2'!").arg(activity, end.section(' ', 1));
    }
    JobLog log;
    const QStringList signalsSeen = RunJob(QTest::currentTestFunction(), folder.path(), Split(work));
    QVERIFY(QDir::setCurrent(before));
    QCOMPARE(signalsSeen, Split(seen));
    QCOMPARE(filetree::Snapshot(folder.path()), expected);
    QCOMPARE(log.Lines(channel, level, folder.path()).replaceInStrings("'./", "'ROOT/"), lines);
}

/// The lists are kept, and what the helper has found is, too. The source is found by Qt's search paths.
void TestFileJobs::startsAgain()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"s/a=1"});
    common::FileCopier copier;
    JobRecorder recorder(&copier);
    QDir::setSearchPaths("skins", {folder.path()});
    copier.AddDirectory("skins:s", folder.filePath("t"));
    copier.Copy();
    recorder.Wait();
    filetree::Build(folder.path(), {"s/a=new"});
    copier.Copy();
    QCOMPARE(recorder.Wait(), QStringList({"1/1", "done", "1/1", "done"}));
    FileHelper helper(folder.filePath("t/a"));
    helper.AppendFiles({folder.filePath("t/a")});
    QStringList seen;
    Record(helper, folder.path(), seen);
    QVERIFY(!helper.Copy(folder.filePath("b")));
    QCOMPARE(filetree::Snapshot(folder.path()), QStringList({"s/a=new", "t/a=new"}));
    QVERIFY(!helper.Remove());
    QCOMPARE(seen, QStringList({"found t/a 1", "found t/a 2", "t/a 1/2", "t/a 2/2", "failed t/a"}));
}

#ifdef Q_OS_WIN
void TestFileJobs::filesThatStay()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"a=1", "read-only=2", "open=3"});
    QFile readOnly(folder.filePath("read-only"));
    QFile open(folder.filePath("open"));
    QVERIFY(readOnly.setPermissions(QFileDevice::ReadOwner) && open.open(QIODevice::ReadOnly));
    for (const QString name : {"read-only", "open"}) {
        QStringList attempts;
        for (int i = 1; i <= 5; ++i) {
            attempts += QString("4 Failed to remove file 'ROOT/%1', attempt '%2'").arg(name).arg(i);
        }
        JobLog log;
        QCOMPARE(RunJob("copier", folder.path(), {"F a " + name}), QStringList("failed 700106"));
        QCOMPARE(RunJob("remover", folder.path(), {"F " + name}), QStringList("failed 700204"));
        QCOMPARE(log.Lines("shell.filecmd", 4, folder.path()), attempts + attempts);
    }
    QVERIFY(readOnly.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner));
    // Links are shortcuts here.
    QVERIFY(QFile::link(folder.filePath("a"), folder.filePath("l.lnk")));
    QCOMPARE(RunJob("copier", folder.path(), {"L l.lnk t/l.lnk"}), QStringList({"1/1", "done"}));
    QVERIFY(QFileInfo(folder.filePath("t/l.lnk")).isSymLink());
}
#endif

QTEST_GUILESS_MAIN(TestFileJobs)
#include "tst_filejobs.moc"

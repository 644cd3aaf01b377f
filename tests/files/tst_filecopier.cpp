#include "filetree.h"
#include "jobrecorder.h"

#include <common/shell/filecopier.h>

#include <QTemporaryDir>
#include <QTest>

using common::FileCopier;

class TestFileCopier : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void copies_data();
    void copies();
    void fails_data();
    void fails();
    void logOfAJob();
    void secondCopy();
#ifdef Q_OS_WIN
    void shortcut();
    void destinationInUse();
#endif
};

namespace
{

/// Adds work given as "F from to" (file), "L from to" (link) or "D from to" (directory), below a folder.
void Add(FileCopier& copier, const QString& root, const QStringList& work)
{
    for (const QString& item : work) {
        const QString from = root + u'/' + item.section(' ', 1, 1);
        const QString to = root + u'/' + item.section(' ', 2, 2);
        if (item.startsWith('F')) {
            copier.AddFile(from, to);
        } else if (item.startsWith('L')) {
            copier.AddSymlink(from, to);
        } else {
            copier.AddDirectory(from, to);
        }
    }
}

} // namespace

void TestFileCopier::copies_data()
{
    QTest::addColumn<QStringList>("tree");
    QTest::addColumn<QStringList>("work");
    QTest::addColumn<int>("items");
    QTest::addColumn<QStringList>("copied"); // below "t"

    QTest::newRow("nothing") << QStringList{"t/"} << QStringList{} << 0 << QStringList{};
    QTest::newRow("files") << QStringList{"a=1", "b="} << QStringList{"F a t/a", "F b t/x/y/b"} << 2
                           << QStringList{"a=1", "x/y/b="};
    QTest::newRow("tree") << QStringList{"s/a=1", "s/d/b=2", "s/d/e/c=3"} << QStringList{"D s t"} << 3
                          << QStringList{"a=1", "d/b=2", "d/e/c=3"};
    QTest::newRow("only empty directories")
        << QStringList{"s/d/e/", "s/f/"} << QStringList{"D s t"} << 0 << QStringList{};
    QTest::newRow("hidden entries") << QStringList{"s/.h=1", "s/.d/a=1", "s/b=2"} << QStringList{"D s t"} << 1
                                    << QStringList{"b=2"};
    QTest::newRow("existing file") << QStringList{"a=1", "t/a=old, longer"} << QStringList{"F a t/a"} << 1
                                   << QStringList{"a=1"};
    QTest::newRow("twice the same") << QStringList{"a=1"} << QStringList{"F a t/a", "F a t/a"} << 2
                                    << QStringList{"a=1"};
    QTest::newRow("tree into itself")
        << QStringList{"t/a=1"} << QStringList{"D t t/d"} << 1 << QStringList{"a=1", "d/a=1"};
#ifdef Q_OS_UNIX
    QTest::newRow("links in a tree") << QStringList{"s/up->../a", "s/d/l->../e",      "s/d/x=1",
                                                    "s/e/y=2",    "s/gone->no/where", "s/loop->loop"}
                                     << QStringList{"D s t"} << 6
                                     << QStringList{"d/l->../e",      "d/x=1",      "e/y=2",
                                                    "gone->no/where", "loop->loop", "up->../a"};
    QTest::newRow("absolute link becomes relative")
        << QStringList{"s/l->/dev/null"} << QStringList{"L s/l t/l"} << 1 << QStringList{"l->ROOT/dev/null"};
    QTest::newRow("pair as file and as link")
        << QStringList{"l->a", "a=1"} << QStringList{"L l t/l", "F l t/l"} << 2 << QStringList{"l=1"};
    QTest::newRow("link replaces file and file replaces link")
        << QStringList{"l->a", "a=1", "t/x=2", "t/y->gone"} << QStringList{"L l t/x", "F a t/y"} << 2
        << QStringList{"x->a", "y=1"};
    QTest::newRow("link at the destination leads to the source")
        << QStringList{"a=1", "t/l->../a"} << QStringList{"F a t/l"} << 1 << QStringList{"l=1"};
    QTest::newRow("names") << QStringList{"s/a\nb=1", "s/%1 %2=2", "s/\\=3", "s/" + QString(255, 'n') + "=4"}
                           << QStringList{"D s t"} << 4
                           << QStringList{"%1 %2=2", "\\=3", "a\nb=1", QString(255, 'n') + "=4"};
#else
    QTest::newRow("slashes both ways")
        << QStringList{"s/d/a=1"} << QStringList{"D s\\d/ t\\x"} << 1 << QStringList{"x/a=1"};
#endif
}

void TestFileCopier::copies()
{
    QFETCH(QStringList, tree);
    QFETCH(QStringList, work);
    QFETCH(int, items);
    QFETCH(QStringList, copied);

    const QTemporaryDir folder;
    filetree::Build(folder.path(), tree);
    // What leads out of the folder goes through the root of the file system.
    const qsizetype depth = folder.path().count('/') + 1;
    copied.replaceInStrings("ROOT/", QString("../").repeated(depth));
    JobLog log;
    FileCopier copier;
    JobRecorder recorder(&copier);
    Add(copier, folder.path(), work);
    QVERIFY(copier.Copy());
    QCOMPARE(recorder.Wait(), Steps(items, items, "done"));
    QCOMPARE(filetree::Snapshot(folder.filePath("t")), copied);
    QCOMPARE(log.Lines(3, folder.path()), QStringList());
}

void TestFileCopier::fails_data()
{
    QTest::addColumn<QStringList>("tree");
    QTest::addColumn<QStringList>("work");
    QTest::addColumn<int>("done");
    QTest::addColumn<int>("total");
    QTest::addColumn<int>("code");
    QTest::addColumn<QStringList>("after"); // the whole tree, "same" for unchanged
    QTest::addColumn<QStringList>("complaints");

    const QString copying = "3 shell.filecopy Copying from 'ROOT/%1' to 'ROOT/%2' failed with error '%3'!";
    const QStringList same{"same"};
    QTest::newRow("no source directory")
        << QStringList{"a=1", "s/b=2"} << QStringList{"F a t/a", "D s t", "D gone t"} << 0 << 0 << 700102
        << same
        << QStringList{"4 shell.filecopy Path 'ROOT/gone' doesn't exists!",
                       "3 shell.filecopy Scanning directory 'ROOT/gone' failed with error '700102'!"};
    QTest::newRow("no source file") << QStringList{"a=1"} << QStringList{"F a t/a", "F b t/b", "F a t/c"} << 1
                                    << 3 << 700103 << QStringList{"a=1", "t/a=1"}
                                    << QStringList{"3 shell.filecopy Source file 'ROOT/b' doesn't exist!",
                                                   copying.arg("b", "t/b", "700103")};
    QTest::newRow("folder cannot be made")
        << QStringList{"a=1", "t=2"} << QStringList{"F a t/x/a"} << 0 << 1 << 700104 << same
        << QStringList{"3 shell.filecopy Cannot create path to 'ROOT/t/x/a'",
                       copying.arg("a", "t/x/a", "700104")};
    QTest::newRow("destination is a directory")
        << QStringList{"a=1", "t/d/"} << QStringList{"F a t/d"} << 0 << 1 << 700106 << same
        << QStringList{"4 shell.filecopy 'ROOT/t/d' already exists. Trying to remove before coping...",
                       "3 shell.filecopy Cannot remove 'ROOT/t/d'!", copying.arg("a", "t/d", "700106")};
    QTest::newRow("source is a directory")
        << QStringList{"d/a=1"} << QStringList{"F d t"} << 0 << 1 << 700107 << same
        << QStringList{"3 shell.filecopy Cannot copy from 'ROOT/d' to 'ROOT/t'",
                       copying.arg("d", "t", "700107")};
    const QString sameFile = "3 shell.filecopy 'ROOT/%1' and 'ROOT/%2' are the same file";
    QTest::newRow("onto itself") << QStringList{"a=1"} << QStringList{"F a a"} << 0 << 1 << 700107 << same
                                 << QStringList{sameFile.arg("a", "a"), copying.arg("a", "a", "700107")};
    QTest::newRow("onto itself another way")
        << QStringList{"d/a=1"} << QStringList{"F d/a d/../d/./a"} << 0 << 1 << 700107 << same
        << QStringList{sameFile.arg("d/a", "d/../d/./a"), copying.arg("d/a", "d/../d/./a", "700107")};
    QTest::newRow("tree onto itself")
        << QStringList{"s/d/a=1"} << QStringList{"D s s"} << 0 << 1 << 700107 << same
        << QStringList{sameFile.arg("s/d/a", "s/d/a"), copying.arg("s/d/a", "s/d/a", "700107")};
#ifdef Q_OS_UNIX
    QTest::newRow("link onto itself")
        << QStringList{"l->gone"} << QStringList{"L l l"} << 0 << 1 << 700107 << same
        << QStringList{sameFile.arg("l", "l"), copying.arg("l", "l", "700107")};
    QTest::newRow("onto what a link leads to")
        << QStringList{"l->m", "m->a", "a=1"} << QStringList{"F l a"} << 0 << 1 << 700107 << same
        << QStringList{sameFile.arg("l", "a"), copying.arg("l", "a", "700107")};
    QTest::newRow("itself through a linked folder")
        << QStringList{"d/a=1", "e->d"} << QStringList{"F d/a e/a"} << 0 << 1 << 700107 << same
        << QStringList{sameFile.arg("d/a", "e/a"), copying.arg("d/a", "e/a", "700107")};
    QTest::newRow("link that is none")
        << QStringList{"a=1"} << QStringList{"L a t"} << 0 << 1 << 700107 << same
        << QStringList{"3 shell.filecopy Cannot copy link from 'ROOT/a' to 'ROOT/t' -> ''.",
                       copying.arg("a", "t", "700107")};
#else
    QTest::newRow("no source shortcut")
        << QStringList{"a=1"} << QStringList{"L l.lnk t/l.lnk"} << 0 << 1 << 700103 << same
        << QStringList{"3 shell.filecopy Source file 'ROOT/l.lnk' doesn't exist!",
                       copying.arg("l.lnk", "t/l.lnk", "700103")};
#endif
}

void TestFileCopier::fails()
{
    QFETCH(QStringList, tree);
    QFETCH(QStringList, work);
    QFETCH(int, done);
    QFETCH(int, total);
    QFETCH(int, code);
    QFETCH(QStringList, after);
    QFETCH(QStringList, complaints);

    const QTemporaryDir folder;
    filetree::Build(folder.path(), tree);
    const QStringList before = filetree::Snapshot(folder.path());
    JobLog log;
    FileCopier copier;
    JobRecorder recorder(&copier);
    Add(copier, folder.path(), work);
    QVERIFY(copier.Copy());
    QCOMPARE(recorder.Wait(), Steps(done, total, QString("failed %1").arg(code)));
    const QString text = QString("Copying failed with error '%1'!").arg(code);
    QCOMPARE(recorder.errorText, text);
    QCOMPARE(filetree::Snapshot(folder.path()), after == QStringList{"same"} ? before : after);
    // The retries are told of in a place of their own, and so are Qt's.
    QStringList lines = log.Lines(4, folder.path()).filter("shell.filecopy");
    QCOMPARE(lines, complaints << "3 shell.filecopy " + text);
}

void TestFileCopier::logOfAJob()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"s/d/a=1", "t/d/a=2"});
    JobLog log;
    FileCopier copier;
    JobRecorder recorder(&copier);
    Add(copier, folder.path(), {"D s t"});
    copier.Copy();
    recorder.Wait();
    QStringList lines = log.Lines(7, folder.path());
    const QRegularExpression duration("[0-9]+ msec");
    QCOMPARE(lines.replaceInStrings(duration, "N msec"),
             QStringList({"7 shell.filecopy Copy", "7 shell.filecopy Start scanning directories...",
                          "7 shell.filecopy Directories scanning finished.",
                          "4 shell.filecopy 'ROOT/t/d/a' already exists. Trying to remove before coping...",
                          "7 shell.filecopy Successfully copied from 'ROOT/s/d/a' to 'ROOT/t/d/a'",
                          "6 shell.filecopy Copying finished in N msec."}));
}

void TestFileCopier::secondCopy()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"a=1", "s/b=2"});
    FileCopier copier;
    JobRecorder recorder(&copier);
    Add(copier, folder.path(), {"F a t/a", "D s t"});
    copier.Copy();
    QCOMPARE(recorder.Wait(), Steps(2, 2, "done"));
    filetree::Build(folder.path(), {"a=new"});
    copier.Copy();
    QCOMPARE(recorder.Wait(), Steps(2, 2, "done") + Steps(2, 2, "done"));
    QCOMPARE(filetree::Snapshot(folder.filePath("t")), QStringList({"a=new", "b=2"}));
}

#ifdef Q_OS_WIN
void TestFileCopier::shortcut()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"s/a=1", "t/"});
    QVERIFY(QFile::link(folder.filePath("s/a"), folder.filePath("s/l.lnk")));
    FileCopier copier;
    JobRecorder recorder(&copier);
    Add(copier, folder.path(), {"D s t"});
    copier.Copy();
    QCOMPARE(recorder.Wait(), Steps(2, 2, "done"));
    QVERIFY(QFileInfo(folder.filePath("t/l.lnk")).isSymLink());
}

void TestFileCopier::destinationInUse()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"a=1", "t/a=2"});
    QFile open(folder.filePath("t/a"));
    QVERIFY(open.open(QIODevice::ReadOnly));
    JobLog log;
    FileCopier copier;
    JobRecorder recorder(&copier);
    Add(copier, folder.path(), {"F a t/a"});
    copier.Copy();
    QCOMPARE(recorder.Wait(), QStringList("failed 700106"));
    QCOMPARE(log.Lines(4, folder.path()).filter("shell.filecmd").size(), 5);
}
#endif

QTEST_GUILESS_MAIN(TestFileCopier)
#include "tst_filecopier.moc"

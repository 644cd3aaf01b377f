/// Tests the signals, results on disk and log of the copier, the remover and the helper. Also tests the
/// commands that they use, and platform differences.

#include "filetree.h"
#include "jobrecorder.h"
#include "logger/recordinglogger.h"
#include "table.h"

#include <common/shell/filecommands.h>

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTemporaryDir>

using common::FileCommands;

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
    void copierLog();
    void startsAgain();
    void commandsTryAgain();
    void firstAttemptCounts();
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

/// The columns of the jobs; commas separate the items of a list:
///   tree      entries before the job, in the notation of filetree
///   work      items of the job, in the notation of RunJob
///   emissions signals of the job, in the notation of RunJob
///   gone      entries that the job removes
///   added     entries that the job creates
///   warnings  lines in the log up to level 4, except those that repeat the final code
struct Jobs : Table<QString, QString, QString, QString, QString, QStringList>
{
    Jobs()
        : Table("tree", "work", "emissions", "gone", "added", "warnings")
    {}
};

const QString exists = "4 'ROOT/%1' already exists. Trying to remove before coping...";

/// Adds the rows for copies that are possible only on this platform.
void AddSystemsOwnCopies(const Jobs& row)
{
#ifdef Q_OS_UNIX
    row("links in a tree", "s/up->../a, s/d/l->../e, s/e/y=2, s/gone->no/where, s/loop->loop", "dir s t",
        "1/5, 2/5, 3/5, 4/5, 5/5, done", "",
        "t/d/l->../e, t/e/y=2, t/gone->no/where, t/loop->loop, t/up->../a", {});
    row("relative path, and dots behind a link", "s/d/l->../e, s/e/y=2, k->x/y, x/y/, x/s/d/l->../e, x/s/e/",
        "dir ./s t, dir k/../s u, file s/e/y k/../v/y", "1/4, 2/4, 3/4, 4/4, done", "",
        "t/d/l->../e, t/e/y=2, u/d/l->../e, x/v/y=2", {});
    row("links and files replaced", "a=1, l->a, x=2, y->gone, z->a", "link l x, file a y, file a z",
        "1/3, 2/3, 3/3, done", "x=2, y->gone, z->a", "x->a, y=1, z=1",
        {exists.arg("y"), exists.arg("z"), exists.arg("x")});
    row("link that is added as a file, too", "a=1, s/l->../a", "dir s t, file s/l t/l", "1/2, 2/2, done", "",
        "t/l=1", {exists.arg("t/l")});
    row("names", "s/a\nb=1, s/%1 %2=2, s/\\=3, s/:d/e=5", "dir s t", "1/4, 2/4, 3/4, 4/4, done", "",
        "t/%1 %2=2, t/:d/e=5, t/\\=3, t/a\nb=1", {});
    row("fifo behind a link", "p|, l->p, t=old", "file l t", "failed 700107", "", "",
        {"3 Cannot copy from 'ROOT/l' to 'ROOT/t'"});
    row("file without a size", "", "file /proc/sys/kernel/ostype t", "1/1, done", "", "t=Linux\n", {});
    row("onto what a link in a linked folder leads to", "d/e/l->../a, d/a=1, f->d/e", "file f/l d/a",
        "failed 700107", "", "", {"3 'ROOT/f/l' and 'ROOT/d/a' are the same file"});
#else
    row("slashes both ways", "s/d/a=1", "dir s\\d/ t\\x", "1/1, done", "", "t/x/a=1", {});
    row("periods that Windows drops", "s/a=1", "file s./a. u./a., dir s. t.", "1/2, 2/2, done", "",
        "t/a=1, u/a=1", {});
#endif
}

} // namespace

void TestFileJobs::copier_data()
{
    const Jobs row;
    row("nothing to do", "a=1", "", "done", "", "", {});
    row("files", "a=1, b=", "file a ./t/a, file b t/x/y/b", "1/2, 2/2, done", "", "t/a=1, t/x/y/b=", {});
    row("tree without its hidden and empty parts", "s/d/a=1, s/d/e/b=2, s/f/g/, s/.h=3, s/.i/c=4", "dir s t",
        "1/2, 2/2, done", "", "t/d/a=1, t/d/e/b=2", {});
    row("tree into itself", "t/a=1", "dir t t/d", "1/1, done", "", "t/d/a=1", {});
    row("no source directory", "a=1, s/b=2", "file a t/a, dir s t, dir x t", "failed 700102", "", "",
        {"4 Path 'ROOT/x' doesn't exists!"});
    row("folder cannot be made", "a=1, t=2", "file a t/x/a", "failed 700104", "", "",
        {"3 Cannot create path to 'ROOT/t/x/a'"});
    row("no destination", "s/a=1", "dir s", "failed 700104", "", "", {"3 Cannot create path to ''"});
    row("destination is a directory", "a=1, d/", "file a d", "failed 700106", "", "",
        {exists.arg("d"), "3 Cannot remove 'ROOT/d'!"});
    row("directory added as file, existing destination", "d/a=1, t=old", "file d t", "failed 700107", "", "",
        {exists.arg("t"), "3 Cannot copy from 'ROOT/d' to 'ROOT/t'"});
    row("file added as link, existing destination", "a=1, t=old", "link a t", "failed 700107", "", "",
        {exists.arg("t"), "3 Cannot copy link from 'ROOT/a' to 'ROOT/t' -> ''."});
    row("onto itself another way", "d/a=1", "file d/a d/../d/./a", "failed 700107", "", "",
        {"3 'ROOT/d/a' and 'ROOT/d/../d/./a' are the same file"});
    AddSystemsOwnCopies(row);
}

void TestFileJobs::remover_data()
{
    const Jobs row;
    row("missing and empty paths", "a=1, b/c=2", "dir, dir x?, file y*, file a", "1/4, 2/4, 3/4, 4/4, done",
        "a=1", "",
        {"4 Path '' doesn't exists!", "4 Path 'ROOT/x?' doesn't exists!", "4 File 'ROOT/y*' doesn't exist!",
         "4 Directory '' doesn't exist!", "4 Directory 'ROOT/x?' doesn't exist!"});
    row("added twice", "a=1, d/e/f/", "dir d, dir d/e, file a, dir a",
        "1/7, 2/7, 3/7, 4/7, 5/7, 6/7, 7/7, done", "a=1, d/e/f/", "",
        {"4 Path 'ROOT/a' doesn't exists!", "4 Directory 'ROOT/d/e/f' doesn't exist!",
         "4 Directory 'ROOT/d/e' doesn't exist!", "4 Directory 'ROOT/a' doesn't exist!"});
    row("hidden file", "d/.h=1, d/a=2", "dir d", "1/2, failed 700203", "d/a=2", "",
        {"3 Cannot remove directory 'ROOT/d'!"});
    row("directory added as file", "d/a=1", "file d", "failed 700204", "", "",
        {"3 Cannot remove file 'ROOT/d'!"});
    row("content before directory", "b/c/a=1, d/e/", "dir b, dir ./d/", "1/5, 2/5, 3/5, 4/5, 5/5, done",
        "b/c/a=1, d/e/", "", {});
#ifdef Q_OS_UNIX
    row("links and a fifo", "d/l->../e, d/gone->x, d/loop->loop, d/p|, m->e, e/a\nb=1", "dir d, file m",
        "1/6, 2/6, 3/6, 4/6, 5/6, 6/6, done", "d/l->../e, d/gone->x, d/loop->loop, d/p|, m->e", "", {});
#endif
}

void TestFileJobs::helper_data()
{
    const Jobs row;
    row("directories and files, missing and empty paths", "a=1, d/e/b=2, f/, g=3",
        "file g, file x, file a/, dir d/, dir x, dir, dir f", "1/5 d/e/b, 2/5 d/e, 3/5 d, 4/5 f, 5/5 g",
        "d/e/b=2, f/, g=3", "", {});
    row("filters hide a file and a directory", "d/a.txt=1, e/x/a.txt=2, d/b=3",
        "filter *.txt, filter *.bin, dir d, dir e", "1/3 d/a.txt, 2/3 d, failed d, 3/3 e, failed e",
        "d/a.txt=1", "", {});
#ifdef Q_OS_UNIX
    row("a link to a directory, and dots behind one", "d/a=1, x/y/z=2, x/d/k->../y, x/b=4, b=5, l->x/y",
        "dir l/../d, file l/../b", "1/3 x/d/k, 2/3 x/d, 3/3 x/b", "x/d/k->../y, x/b=4", "", {});
    row("a loop in the place of a directory", "l->l", "dir l", "", "", "", {});
#endif
}

void TestFileJobs::CheckJob(const char* channel)
{
    QFETCH(QString, tree);
    QFETCH(QString, work);
    QFETCH(QString, emissions);
    QFETCH(QString, gone);
    QFETCH(QString, added);
    QFETCH(QStringList, warnings);

    const QTemporaryDir folder;
    const filetree::CurrentDirectory current(folder.path());
    filetree::Build(folder.path(), Split(tree));
    QStringList after = filetree::Snapshot(folder.path()) + Split(added);
    after.removeIf([&gone](const QString& entry) { return Split(gone).contains(entry); });
    after.sort();
    RecordingLogger log;
    const QStringList seen = RunJob(QTest::currentTestFunction(), folder.path(), Split(work));
    QCOMPARE(seen, Split(emissions));
    QCOMPARE(filetree::Snapshot(folder.path()), after);
    QStringList lines = log.Lines(channel, 4, folder.path()).replaceInStrings("'./", "'ROOT/");
    lines.removeIf([](const QString& line) { return line.contains(" failed with error "); });
    QCOMPARE(lines, warnings);
}

/// The complete log of a copy whose second file is missing.
void TestFileJobs::copierLog()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"s/a=1", "t/a=old"});
    RecordingLogger log;
    QCOMPARE(RunJob("copier", folder.path(), {"file s/a t/a", "file b t/b", "file s/a t/c"}),
             QStringList({"1/3", "failed 700103"}));
    QCOMPARE(log.Lines("shell.filecopy", 7, folder.path()),
             QStringList({"7 Copy", "7 Start scanning directories...", "7 Directories scanning finished.",
                          exists.arg("t/a"), "7 Successfully copied from 'ROOT/s/a' to 'ROOT/t/a'",
                          "3 Source file 'ROOT/b' doesn't exist!",
                          "3 Copying from 'ROOT/b' to 'ROOT/t/b' failed with error '700103'!",
                          "3 Copying failed with error '700103'!"}));
    QCOMPARE(filetree::Snapshot(folder.path()), QStringList({"s/a=1", "t/a=1"}));
}

/// Copiers and removers keep their lists, and a helper keeps its results. Search paths work for source and
/// destination.
void TestFileJobs::startsAgain()
{
    const QTemporaryDir folder;
    QDir::setSearchPaths("skins", {folder.path()});
    common::FileCopier copier;
    JobRecorder recorder(&copier);
    copier.AddDirectory("skins:s", "skins:t");
    for (const QString entry : {"s/a=1", "s/a=new"}) {
        filetree::Build(folder.path(), {entry});
        copier.Copy();
        QCOMPARE(recorder.Wait(), QStringList({"1/1", "done"}));
        QCOMPARE(filetree::Snapshot(folder.path()), QStringList({entry, "t" + entry.mid(1)}));
    }
    common::FileHelper helper(folder.filePath("t/"));
    QSignalSpy scanned(&helper, &common::FileHelper::scan);
    QVERIFY(!helper.Copy(folder.filePath("b")));
    QVERIFY2(!helper.Remove(), "found twice, removed once");
    QCOMPARE(scanned.last(), QVariantList({folder.filePath("t/"), quint64{4}}));
    QCOMPARE(filetree::Snapshot(folder.path()), QStringList("s/a=new"));
}

void TestFileJobs::commandsTryAgain()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"f=1", "d/b=2"});
    const filetree::CurrentDirectory current(folder.path());
    QDir dir;
    QFile file("f");
    QFile missing("a%0%1b");
    const std::pair<QString, std::function<bool()>> commands[] = {
        {"copy file 'f' to 'd/b'", [&] { return FileCommands::CopyFile(file, "d/b"); }},
        {"create link 'x/l' --> 'x/y'", [] { return FileCommands::CreateSymlink("x/y", "x/l"); }},
        {"remove directory 'd'", [&] { return FileCommands::RemoveDirectory(dir, "d"); }},
        {"remove file 'a%0%1b'", [&] { return FileCommands::RemoveFile(missing); }},
        {"rename directory 'x' to 'z'", [&] { return FileCommands::RenameDirectory(dir, "x", "z"); }}};
    for (const auto& [complaint, run] : commands) {
        RecordingLogger log;
        QElapsedTimer timer;
        timer.start();
        QVERIFY(!run());
        QVERIFY2(timer.elapsed() >= 190, "four sleeps of 50 ms; the clock of a sleep may be a little ahead");
        QStringList lines;
        for (int attempt = 1; attempt <= 5; ++attempt) {
            lines += "4 Failed to " + complaint + QString(", attempt '%1'").arg(attempt);
        }
        QCOMPARE(log.Lines("shell.filecmd", 7), lines);
    }
    QVERIFY(FileCommands::RenameDirectory(dir, "d", "e"));
    QCOMPARE(filetree::Snapshot(folder.path()), QStringList({"e/b=2", "f=1"}));
}

void TestFileJobs::firstAttemptCounts()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"d/e/.h=1"});
    RecordingLogger log;
    log.onLine = [&](const QString& text) {
        if (text.endsWith("attempt '2'")) {
            QVERIFY(QFile::remove(folder.filePath("d/e/.h")));
        }
    };
    QCOMPARE(RunJob("remover", folder.path(), {"dir d"}), Steps(2, 2) << "done");
    QCOMPARE(log.Lines("shell.filecmd", 7, folder.path()),
             QStringList({"4 Failed to remove directory 'ROOT/d/e', attempt '1'",
                          "4 Failed to remove directory 'ROOT/d/e', attempt '2'"}));
}

#ifdef Q_OS_WIN

void TestFileJobs::filesThatStay()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"a=1", "read-only=2", "open=3"});
    QFile readOnly(folder.filePath("read-only"));
    QFile open(folder.filePath("open"));
    QVERIFY(readOnly.setPermissions(QFileDevice::ReadOwner));
    QVERIFY(open.open(QIODevice::ReadOnly));
    for (const QString name : {"read-only", "open"}) {
        RecordingLogger log;
        QCOMPARE(RunJob("copier", folder.path(), {"file a " + name}), QStringList("failed 700106"));
        QCOMPARE(RunJob("remover", folder.path(), {"file " + name}), QStringList("failed 700204"));
        QCOMPARE(log.Lines("shell.filecmd", 4).size(), 10); // five attempts each
    }
    QVERIFY(readOnly.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner));
    // On Windows, links are shortcuts.
    QVERIFY(QFile::link(folder.filePath("a"), folder.filePath("l.lnk")));
    QCOMPARE(RunJob("copier", folder.path(), {"link l.lnk t/l.lnk"}), QStringList({"1/1", "done"}));
    QVERIFY(QFileInfo(folder.filePath("t/l.lnk")).isSymLink());
}

#endif

QTEST_GUILESS_MAIN(TestFileJobs)
#include "tst_filejobs.moc"

#include "filetree.h"
#include "jobrecorder.h"

#include <common/shell/fileremover.h>

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>

using common::FileRemover;

class TestFileRemover : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void removes_data();
    void removes();
    void orderAndLog();
    void relativePaths();
#ifdef Q_OS_WIN
    void refused_data();
    void refused();
#endif
};

namespace
{

/// Adds work given as "F path" (file) or "D path" (directory), below a folder.
void Add(FileRemover& remover, const QString& root, const QStringList& work)
{
    for (const QString& item : work) {
        const QString path = root + u'/' + item.section(' ', 1);
        if (item.startsWith('F')) {
            remover.AddFile(path);
        } else {
            remover.AddDirectory(path);
        }
    }
}

} // namespace

void TestFileRemover::removes_data()
{
    QTest::addColumn<QStringList>("tree");
    QTest::addColumn<QStringList>("work");
    QTest::addColumn<QStringList>("signalsSeen");
    QTest::addColumn<QStringList>("after");
    QTest::addColumn<QStringList>("complaints");

    const auto row = [](const char* name, const QStringList& tree, const QStringList& work,
                        const QStringList& signalsSeen, const QStringList& after,
                        const QStringList& complaints = QStringList()) {
        QTest::newRow(name) << tree << work << signalsSeen << after << complaints;
    };
    const QString noPath = "4 shell.fileremove Path 'ROOT/%1' doesn't exists!";
    const QString noDirectory = "4 shell.fileremove Directory 'ROOT/%1' doesn't exist!";
    const QString noFile = "4 shell.fileremove File 'ROOT/%1' doesn't exist!";
    row("nothing", {"a=1"}, {}, Steps(0, 0, "done"), {"a=1"});
    row("tree", {"a=1", "d/b=2", "d/e/c=3", "d/f/"}, {"D d", "F a"}, Steps(6, 6, "done"), {});
    row("missing directory", {"a=1"}, {"D x"}, Steps(1, 1, "done"), {"a=1"},
        {noPath.arg("x"), noDirectory.arg("x")});
    row("missing file", {"a=1"}, {"F x", "F a"}, Steps(2, 2, "done"), {}, {noFile.arg("x")});
    row("hidden file", {"d/.h=1", "d/a=2"}, {"D d"}, Steps(1, 2, "failed 700203"), {"d/.h=1"},
        {"3 shell.fileremove Cannot remove directory 'ROOT/d'!",
         "3 shell.fileremove Removing directory 'ROOT/d' failed with error '700203'!",
         "3 shell.fileremove Removing failed with error '700203'!"});
    row("directory added as file", {"d/a=1"}, {"F d"}, Steps(0, 1, "failed 700204"), {"d/a=1"},
        {"3 shell.fileremove Cannot remove file 'ROOT/d'!",
         "3 shell.fileremove Removing file 'ROOT/d' failed with error '700204'!",
         "3 shell.fileremove Removing failed with error '700204'!"});
    row("roots that overlap", {"d/e/a=1"}, {"D d", "D d/e"}, Steps(5, 5, "done"), {},
        {noFile.arg("d/e/a"), noDirectory.arg("d/e")});
    row("slash at the end", {"d/a=1"}, {"D d/"}, Steps(2, 2, "done"), {});
#ifdef Q_OS_UNIX
    row("links", {"d/l->../e", "d/gone->x", "d/loop->loop", "e/a=1"}, {"D d"}, Steps(4, 4, "done"),
        {"e/a=1"});
    row("link as file", {"l->e", "e/a=1"}, {"F l"}, Steps(1, 1, "done"), {"e/a=1"});
    row("names", {"d/a\nb=1", "d/%1=2", "d/\\/c=3"}, {"D d"}, Steps(5, 5, "done"), {});
#endif
}

void TestFileRemover::removes()
{
    QFETCH(QStringList, tree);
    QFETCH(QStringList, work);
    QFETCH(QStringList, signalsSeen);
    QFETCH(QStringList, after);
    QFETCH(QStringList, complaints);

    const QTemporaryDir folder;
    filetree::Build(folder.path(), tree);
    JobLog log;
    FileRemover remover;
    JobRecorder recorder(&remover);
    Add(remover, folder.path(), work);
    QVERIFY(remover.Remove());
    QCOMPARE(recorder.Wait(), signalsSeen);
    QCOMPARE(filetree::Snapshot(folder.path()), after);
    QCOMPARE(log.Lines(4, folder.path()).filter("shell.fileremove"), complaints);
}

void TestFileRemover::orderAndLog()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"b/c/d/a=1", "e/f/", "g=1"});
    JobLog log;
    FileRemover remover;
    JobRecorder recorder(&remover);
    Add(remover, folder.path(), {"D b", "D e", "F g"});
    remover.Remove();
    QCOMPARE(recorder.Wait(), Steps(7, 7, "done"));
    const QRegularExpression duration("[0-9]+ msec");
    QCOMPARE(
        log.Lines(7, folder.path())
            .replaceInStrings(duration, "N msec")
            .replaceInStrings("shell.fileremove ", ""),
        QStringList(
            {"7 Remove", "7 Start scanning directories...", "7 Found directory: 'c'.",
             "7 Found directory: 'c/d'.", "7 Found directory: 'f'.", "7 Directories scanning finished.",
             "7 Successfully removed file 'ROOT/g'", "7 Successfully removed file 'ROOT/b/c/d/a'",
             "7 Successfully removed directory 'ROOT/e/f'", "7 Successfully removed directory 'ROOT/b/c/d'",
             "7 Successfully removed directory 'ROOT/b/c'", "7 Successfully removed directory 'ROOT/b'",
             "7 Successfully removed directory 'ROOT/e'", "6 Removing finished in N msec."}));
}

void TestFileRemover::relativePaths()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"d/e/a=1", "b=1"});
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(folder.path()));
    FileRemover remover;
    JobRecorder recorder(&remover);
    remover.AddDirectory("d");
    remover.AddFile("b");
    remover.Remove();
    QCOMPARE(recorder.Wait(), Steps(4, 4, "done"));
    QVERIFY(QDir::setCurrent(before));
    QCOMPARE(filetree::Snapshot(folder.path()), QStringList());
}

#ifdef Q_OS_WIN
void TestFileRemover::refused_data()
{
    QTest::addColumn<bool>("readOnly");
    QTest::newRow("read-only file") << true;
    QTest::newRow("file that another process has open") << false;
}

void TestFileRemover::refused()
{
    QFETCH(bool, readOnly);

    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"d/a=1"});
    const QString path = folder.filePath("d/a");
    QProcess holder;
    if (readOnly) {
        QVERIFY(QFile::setPermissions(path, QFileDevice::ReadOwner));
    } else {
        holder.start(QCoreApplication::applicationFilePath(), {"hold", path});
        QVERIFY(holder.waitForReadyRead());
    }
    JobLog log;
    FileRemover remover;
    JobRecorder recorder(&remover);
    Add(remover, folder.path(), {"D d"});
    remover.Remove();
    QCOMPARE(recorder.Wait(), QStringList("failed 700204"));
    QStringList attempts;
    for (int i = 1; i <= 5; ++i) {
        attempts += QString("4 shell.filecmd Failed to remove file 'ROOT/d/a', attempt '%1'").arg(i);
    }
    QCOMPARE(log.Lines(4, folder.path()).filter("shell.filecmd"), attempts);
    holder.closeWriteChannel();
    QVERIFY(readOnly || holder.waitForFinished());
    QVERIFY(QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner));
}
#endif

namespace
{

/// As a child process: keeps a file open until standard input ends.
int Hold(const char* path)
{
    QFile file(QString::fromLocal8Bit(path));
    if (!file.open(QIODevice::ReadOnly)) {
        return 1;
    }
    std::puts("open");
    std::fflush(stdout);
    return std::getchar() == EOF ? 0 : 1;
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc == 3 && qstrcmp(argv[1], "hold") == 0) {
        return Hold(argv[2]);
    }
    const QCoreApplication application(argc, argv);
    TestFileRemover test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_fileremover.moc"

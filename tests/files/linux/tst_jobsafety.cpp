/// Tests the permissions of copies. Also tests file jobs that run out of descriptors or disk space, and jobs
/// in deep trees and in directories of another user.

#include "files/filetree.h"
#include "files/jobrecorder.h"
#include "logger/recordinglogger.h"
#include "resourcelimit.h"
#include "table.h"

#include <common/shell/shell.h>

#include <QScopeGuard>
#include <QTemporaryDir>
#include <QThreadPool>

#include <atomic>
#include <optional>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>

class TestJobSafety : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void permissions();
    void fullDisk();
    void noDescriptor();
    void noDescriptorAtFirst();
    void removedDirectories();
    void deepTree();
    void swappedNames_data();
    void swappedNames();
};

/// Small files are written under their final names. Large files are first written without a name.
void TestJobSafety::permissions()
{
    for (const int mask : {022, 077, 0}) {
        const mode_t usual = ::umask(static_cast<mode_t>(mask));
        const auto restore = qScopeGuard([usual] { ::umask(usual); });
        for (const int mode : {0600, 0444, 0755, 0711, 0666}) {
            const QTemporaryDir folder;
            filetree::Build(folder.path(), {"s/small=a", "s/large=" + QString(100000, 'a'), "qt/"});
            for (const QString name : {"/small", "/large"}) {
                const QString source = folder.filePath("s" + name);
                std::filesystem::permissions(filetree::ToPath(source), std::filesystem::perms(mode));
                QVERIFY(QFile::copy(source, folder.filePath("qt" + name)));
            }
            QCOMPARE(RunJob("copier", folder.path(), {"dir s t"}), Steps(2, 2) << "done");
            QCOMPARE(filetree::Snapshot(folder.filePath("t")), filetree::Snapshot(folder.filePath("qt")));
            for (const QString name : {"/small", "/large"}) {
                QCOMPARE(QFile::permissions(folder.filePath("t" + name)),
                         QFile::permissions(folder.filePath("qt" + name)));
            }
        }
    }
}

/// A file size limit makes writes fail as they would on a full disk. The copies are on another file system.
void TestJobSafety::fullDisk()
{
    const QTemporaryDir folder;
    const QTemporaryDir target("/dev/shm/t");
    const QString large(70000, 'a');
    filetree::Build(folder.path(),
                    {"s/a=" + large, "s/b=" + large + large, "new/a=" + large + large, "small/d/c=12"});
    const ResourceLimit bytes(RLIMIT_FSIZE, 100000);
    const RecordingLogger log;
    QCOMPARE(RunJob("copier", folder.path(), {"dir s " + target.path()}), Steps(1, 2) << "failed 700107");
    QCOMPARE(log.Lines("shell.filecmd", 4).size(), 5);
    // The failed copy must not remove the existing file.
    QCOMPARE(RunJob("copier", folder.path(), {"dir new " + target.path()}), QStringList("failed 700107"));
    const ResourceLimit oneByte(RLIMIT_FSIZE, 1);
    QCOMPARE(RunJob("copier", folder.path(), {"dir small " + target.path()}), QStringList("failed 700107"));
    QVERIFY(!common::Shell::CopyDir(folder.filePath("small"), target.path(),
                                    QDir::Dirs | QDir::NoDotAndDotDot, true));
    QCOMPARE(filetree::Snapshot(target.path()),
             QStringList({"a=" + large, "d/"})); // No incomplete file remains.
}

void TestJobSafety::noDescriptor()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"s/a=1", "s/b=2"});
    {
        const ResourceLimit two(RLIMIT_NOFILE,
                                OpenDescriptors() + 2); // One for the thread and one for the source.
        QCOMPARE(RunJob("copier", folder.path(), {"file s/a s/b"}), QStringList("failed 700107"));
    }
    QCOMPARE(filetree::Snapshot(folder.path()), QStringList({"s/a=1", "s/b=2"}));
    for (const auto& [job, end] : {std::pair("copier", "failed 700102"), {"remover", "failed 700203"}}) {
        // Run the job once first: a sanitizer opens a descriptor at the first call of a member function.
        RunJob(job, folder.path(), {"dir none"});
        RecordingLogger log;
        const ResourceLimit one(RLIMIT_NOFILE, OpenDescriptors() + 1); // One for the worker's thread.
        QCOMPARE(RunJob(job, folder.path(), {"dir s t"}), QStringList(end));
        QVERIFY(log.Contains("' cannot be read!", "Path '" + folder.filePath("s")));
    }
    const ResourceLimit none(RLIMIT_NOFILE, OpenDescriptors());
    QCOMPARE(RunJob("helper", folder.path(), {"dir s"}), QStringList({"1/1 s", "failed s"}));
}

/// A retry of a copy does everything that the first attempt could not do.
void TestJobSafety::noDescriptorAtFirst()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"a=1", "old=2"});
    for (const QString target : {"old", "new/b"}) {
        std::optional<ResourceLimit> one(std::in_place, RLIMIT_NOFILE, OpenDescriptors() + 1);
        RecordingLogger log;
        log.onLine = [&one](const QString& text) {
            if (text.endsWith("attempt '1'")) {
                one.reset();
            }
        };
        QCOMPARE(RunJob("copier", folder.path(), {"file a " + target}), QStringList({"1/1", "done"}));
        QVERIFY(!one);
    }
    QCOMPARE(filetree::Snapshot(folder.path()), QStringList({"a=1", "new/b=1", "old=1"}));
}

void TestJobSafety::removedDirectories()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"s/d/e/a=1", "s/d/e/b=1"});
    int copies = 0;
    RecordingLogger log;
    log.onLine = [&](const QString& text) {
        if (text.startsWith("Successfully copied") && ++copies == 1) {
            QDir(folder.filePath("t")).removeRecursively();
        }
    };
    QCOMPARE(RunJob("copier", folder.path(), {"dir s t"}), Steps(2, 2) << "done");
    QCOMPARE(filetree::Snapshot(folder.filePath("t")).size(), 1);

    QTemporaryDir gone;
    const filetree::CurrentDirectory current(gone.path());
    gone.remove();
    // Without a current directory, "./etc" must not denote "/etc".
    QCOMPARE(RunJob("copier", folder.path(), {"dir ./etc u"}), QStringList("failed 700102"));
}

void TestJobSafety::deepTree()
{
    constexpr int depth = 2000;
    const QTemporaryDir folder("/tmp/d"); // Short, because Linux limits paths to 4,096 bytes.
    const QString deep = folder.filePath("s") + QString("/d").repeated(depth - 1);
    QVERIFY(QDir().mkpath(deep));
    const ResourceLimit few(RLIMIT_NOFILE, 256);
    filetree::Write(deep + "/f", "1");
    QCOMPARE(RunJob("copier", folder.path(), {"dir s t"}), Steps(1, 1) << "done");
    QCOMPARE(RunJob("remover", folder.path(), {"dir t"}), Steps(depth + 1, depth + 1) << "done");
    QCOMPARE(RunJob("helper", folder.path(), {"dir s"}).size(), depth + 1);
    QCOMPARE(QDir(folder.path()).entryList(QDir::Dirs | QDir::NoDotAndDotDot), QStringList());
}

namespace
{

/// Runs a job on 25 trees while another thread keeps exchanging the names "e" and ".e" in the directory
/// `swapped` of each tree, as an owner of that directory could. Returns the number of rounds in which the
/// job left its tree.
int CountEscapes(const QString& job, const QStringList& tree, const QString& work, const QString& swapped)
{
    int escapes = 0;
    for (int round = 0; round < 25; ++round) {
        const QTemporaryDir folder;
        filetree::Build(folder.path(), tree);
        const QStringList before = filetree::Snapshot(folder.filePath("victim"));
        std::atomic<bool> hasEnded = false;
        std::thread swapper([&hasEnded, directory = folder.filePath(swapped).toUtf8()] {
            while (!hasEnded) {
                ::renameat2(AT_FDCWD, (directory + "/e").constData(), AT_FDCWD,
                            (directory + "/.e").constData(), RENAME_EXCHANGE);
                QThread::usleep(20);
            }
        });
        RunJob(job, folder.path(), {work});
        hasEnded = true;
        swapper.join();
        const bool isHarmed = filetree::Snapshot(folder.filePath("victim")) != before;
        const bool isRead = !filetree::Snapshot(folder.filePath("t")).filter("=secret").isEmpty();
        escapes += isHarmed || isRead ? 1 : 0;
    }
    return escapes;
}

} // namespace

void TestJobSafety::swappedNames_data()
{
    const Table<QString, QStringList, QString, QString> row("job", "tree", "work", "swapped");
    const QStringList files{"s/d/e/a=1",       "s/d/e/b=1",       "s/d/e/c/a=1",      "s/d/.e->../../victim",
                            "victim/a=secret", "victim/b=secret", "victim/c/a=secret"};
    row("removal", "remover", files, "dir s", "s/d");
    row("removal by the helper", "helper", files, "dir s", "s/d");
    row("source directory", "copier", files, "dir s t", "s/d");
    row("source file", "copier", {"s/d/e=1", "s/d/.e->../../victim", "victim=secret"}, "dir s t", "s/d");
    row("destination directory", "copier",
        {"s/e/a=1", "s/e/b=1", "s/e/c/a=1", "t/d/e/", "t/d/.e->../../victim", "victim/x=secret",
         "victim/c/y=secret"},
        "dir s t/d", "t/d");
}

/// The owner of a directory in a tree cannot lead a job out of the tree. Runs 200 rounds, 8 at a time,
/// because a job waits after each failed attempt.
void TestJobSafety::swappedNames()
{
    QFETCH(QString, job);
    QFETCH(QStringList, tree);
    QFETCH(QString, work);
    QFETCH(QString, swapped);
    std::atomic<int> escapes = 0;
    QThreadPool threads;
    threads.setMaxThreadCount(8);
    for (int i = 0; i < 8; ++i) {
        threads.start([&] { escapes += CountEscapes(job, tree, work, swapped); });
    }
    QVERIFY(threads.waitForDone());
    QCOMPARE(escapes, 0);
}

QTEST_GUILESS_MAIN(TestJobSafety)
#include "tst_jobsafety.moc"

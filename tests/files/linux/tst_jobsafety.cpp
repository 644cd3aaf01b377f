/// Tests file jobs without threads, descriptors or disk space, in deep trees, and in directories of another
/// user.

#include "files/filetree.h"
#include "files/jobrecorder.h"
#include "logger/recordinglogger.h"
#include "resourcelimit.h"
#include "table.h"

#include <common/shell/shell.h>

#include <QScopeGuard>
#include <QTemporaryDir>
#include <QThread>

#include <array>
#include <atomic>
#include <memory>
#include <optional>
#include <thread>

#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

class TestJobSafety : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void noThread();
    void fullDisk();
    void noSpaceForASmallFile();
    void noDescriptor();
    void noDescriptorAtFirst();
    void deepTree();
    void swappedNames_data();
    void swappedNames();
};

namespace
{

/// The limit that leaves none.
rlim_t OpenDescriptors()
{
    const int next = ::dup(STDIN_FILENO);
    ::close(next);
    return static_cast<rlim_t>(next);
}

} // namespace

void TestJobSafety::noThread()
{
    pthread_attr_t usual = {};
    pthread_attr_t huge = {};
    QCOMPARE(::pthread_getattr_default_np(&usual), 0);
    QCOMPARE(::pthread_attr_init(&huge), 0);
    // Such a stack fits into no address space.
    QCOMPARE(::pthread_attr_setstacksize(&huge, std::size_t{1} << 60U), 0);
    for (const auto& [job, end] : {std::pair("copier", "failed 700108"), {"remover", "failed 700205"}}) {
        QCOMPARE(::pthread_setattr_default_np(&huge), 0);
        const QStringList seen = RunJob(job, "/", {});
        QCOMPARE(::pthread_setattr_default_np(&usual), 0);
        QCOMPARE(seen, QStringList(end));
    }
}

void TestJobSafety::fullDisk()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"s/a=" + QString(700000, 'a'), "s/b=" + QString(700000, 'b'), "t/"});
    const QByteArray target = folder.filePath("t").toUtf8();
    // Visible to this process only.
    if (::unshare(CLONE_NEWNS) != 0 || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        ::mount("tmpfs", target.constData(), "tmpfs", 0, "size=1m") != 0) {
        QSKIP("this user may not mount a file system");
    }
    const auto unmount = qScopeGuard([&target] { ::umount(target.constData()); });
    RecordingLogger log;
    QCOMPARE(RunJob("copier", folder.path(), {"dir s t"}), Steps(1, 2) << "failed 700107");
    QCOMPARE(QDir(folder.filePath("t")).entryList(QDir::Files), QStringList("a")); // no incomplete file
    QCOMPARE(log.Lines("shell.filecmd", 4).size(), 5);
    // The file to be replaced is still intact.
    filetree::Build(folder.path(), {"s/a=" + QString(700000, 'c')});
    QCOMPARE(RunJob("copier", folder.path(), {"dir s t"}), QStringList("failed 700107"));
    QCOMPARE(filetree::Read(folder.filePath("t/a")), QByteArray(700000, 'a'));
}

void TestJobSafety::noSpaceForASmallFile()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"s/d/a=" + QString(200, 'a')});
    const ResourceLimit bytes(RLIMIT_FSIZE, 100);
    QCOMPARE(RunJob("copier", folder.path(), {"dir s t"}), QStringList("failed 700107"));
    QVERIFY(!common::Shell::CopyDir(folder.filePath("s"), folder.filePath("t"),
                                    QDir::Dirs | QDir::NoDotAndDotDot, true));
    QCOMPARE(QDir(folder.filePath("t/d")).entryList(QDir::Files), QStringList());
}

void TestJobSafety::noDescriptor()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"s/a=1", "s/b=2"});
    for (const auto& [job, end] : {std::pair("copier", "failed 700102"), {"remover", "failed 700203"}}) {
        RunJob(job, folder.path(),
               {"dir none"}); // A sanitizer needs a descriptor at the first call of a member.
        RecordingLogger log;
        const ResourceLimit one(RLIMIT_NOFILE, OpenDescriptors() + 1); // For the worker's thread.
        QCOMPARE(RunJob(job, folder.path(), {"dir s t"}), QStringList(end));
        QVERIFY(log.Contains("' cannot be read!", "Path '" + folder.filePath("s")));
    }
    const ResourceLimit none(RLIMIT_NOFILE, OpenDescriptors());
    QCOMPARE(RunJob("helper", folder.path(), {"dir s"}), QStringList({"1/1 s", "failed s"}));
}

/// The further attempts of a copy do all that the first one could not do.
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

void TestJobSafety::deepTree()
{
    constexpr int depth = 2000;
    const QTemporaryDir folder("/tmp/d"); // A path may have 4,096 bytes.
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

/// Runs a job on many trees while another user, who owns the directory `swapped` in each, keeps exchanging
/// the names "e" and ".e" in it. Returns how often the job left its tree.
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

/// The owner of a directory in a tree cannot lead a job out of the tree: 200 rounds, 8 at a time, because a
/// failed attempt waits before the next one.
void TestJobSafety::swappedNames()
{
    QFETCH(QString, job);
    QFETCH(QStringList, tree);
    QFETCH(QString, work);
    QFETCH(QString, swapped);
    std::atomic<int> escapes = 0;
    std::array<std::unique_ptr<QThread>, 8> threads;
    for (auto& thread : threads) {
        thread.reset(QThread::create([&] { escapes += CountEscapes(job, tree, work, swapped); }));
        thread->start();
    }
    for (const auto& thread : threads) {
        QVERIFY(thread->wait());
    }
    QCOMPARE(escapes, 0);
}

QTEST_GUILESS_MAIN(TestJobSafety)
#include "tst_jobsafety.moc"

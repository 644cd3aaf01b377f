/// What a Linux machine can do to a file job: no rights, no space, no memory, big trees.

#include "filetree.h"
#include "jobrecorder.h"

#include <QScopeGuard>
#include <QTemporaryDir>

#include <cstdlib>
#include <new>

#include <sched.h>
#include <sys/fsuid.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

using common::FileCopier;
using common::FileRemover;

namespace
{

/// The size that the next allocation of this thread must have for it to fail, and no other after it.
constexpr std::size_t anySize = 1;
thread_local std::size_t failingSize = 0;

} // namespace

void* operator new(std::size_t size)
{
    const bool fails = failingSize == anySize || (failingSize != 0 && failingSize == size);
    void* const memory = fails ? nullptr : std::malloc(size);
    if (memory == nullptr) {
        failingSize = 0;
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}

class TestFileFaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void noMemory();
    void vanishesAfterTheScan();
    void noRights();
    void fullDisk();
    void largeTrees();
};

template<class Job>
void TestNoMemory(bool (Job::*start)(), const QString& name, std::size_t size, const QString& end)
{
    JobLog log;
    log.onLine = [&](const QString& text) { failingSize = text == name ? size : failingSize; };
    Job job;
    JobRecorder recorder(&job);
    QCOMPARE((job.*start)(), size != anySize);
    // Without a task the failure is told at once.
    QCOMPARE(recorder.signalsSeen.size(), size == anySize ? 1 : 0);
    QCOMPARE(recorder.Wait(), QStringList(end));
    const QByteArray channel = name == "Copy" ? "shell.filecopy" : "shell.fileremove";
    const char* const level = size == anySize ? "2 " : "3 ";
    QCOMPARE(log.Lines(channel, 3), QStringList(level + end.section(' ', 2)));
    log.onLine = nullptr;
    QVERIFY((job.*start)());
    QCOMPARE(recorder.Wait().last(), "done");
}

void TestFileFaults::noMemory()
{
    TestNoMemory(&FileCopier::Copy, "Copy", anySize, "failed 700101 Failed to create copy task!");
    TestNoMemory(&FileCopier::Copy, "Copy", sizeof(QThread), "failed 700108 Thread variable is NULL!");
    TestNoMemory(&FileRemover::Remove, "Remove", anySize, "failed 700201 Failed to create remove task!");
    TestNoMemory(&FileRemover::Remove, "Remove", sizeof(QThread), "failed 700205 Thread variable is NULL!");
}

void TestFileFaults::vanishesAfterTheScan()
{
    const QTemporaryDir folder;
    JobLog log;
    log.onLine = [&](const QString& text) {
        if (text == "Directories scanning finished.") {
            QFile::remove(folder.filePath("s/a"));
        }
    };
    filetree::Build(folder.path(), {"s/a=1"});
    QCOMPARE(RunJob("copier", folder.path(), {"D s t"}), QStringList("failed 700103"));
    filetree::Build(folder.path(), {"s/a=1"});
    QCOMPARE(RunJob("remover", folder.path(), {"D s"}), Steps(2, 2, "done"));
}

void TestFileFaults::noRights()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"s/a=1", "t/b=2", "u/a=3"});
    const QStringList before = filetree::Snapshot(folder.path());
    for (const QString& path : {folder.path(), folder.filePath("t"), folder.filePath("u")}) {
        QCOMPARE(::chmod(qPrintable(path), 0555), 0);
    }
    constexpr uid_t nobody = 65534;
    ::setfsuid(nobody); // Of this thread and of those that it starts.
    const QStringList ends =
        RunJob("copier", folder.path(), {"D s t"}) + RunJob("copier", folder.path(), {"D s t/x"}) +
        RunJob("copier", folder.path(), {"D s u"}) + RunJob("remover", folder.path(), {"D t"});
    ::setfsuid(::geteuid());
    QCOMPARE(ends, QStringList({"failed 700107", "failed 700104", "failed 700106", "failed 700204"}));
    QCOMPARE(filetree::Snapshot(folder.path()), before);
    for (const QString& path : {folder.path(), folder.filePath("t"), folder.filePath("u")}) {
        QCOMPARE(::chmod(qPrintable(path), 0755), 0);
    }
}

void TestFileFaults::fullDisk()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"s/a=" + QString(700000, 'a'), "s/b=" + QString(700000, 'b'), "t/"});
    const QByteArray target = folder.filePath("t").toUtf8();
    // Seen by this process only.
    if (::unshare(CLONE_NEWNS) != 0 || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        ::mount("tmpfs", target.constData(), "tmpfs", 0, "size=1m") != 0) {
        QSKIP("this user may not mount a file system");
    }
    const auto unmount = qScopeGuard([&target] { ::umount(target.constData()); });
    QCOMPARE(RunJob("copier", folder.path(), {"D s t"}), Steps(1, 2, "failed 700107"));
    // No half file is left.
    const QStringList copied = filetree::Snapshot(folder.filePath("t"));
    QCOMPARE(copied.size(), 1);
    QCOMPARE(copied.first().size(), 700002);
}

void TestFileFaults::largeTrees()
{
    constexpr int depth = 2000;
    constexpr int width = 100000;
    const QTemporaryDir folder("/tmp/d");
    const QString deep = folder.filePath("s") + QString("/d").repeated(depth - 1);
    QVERIFY(QDir().mkpath(deep));
    filetree::Write(filetree::ToPath(deep + "/f"), "1");
    QCOMPARE(RunJob("copier", folder.path(), {"D s t"}), Steps(1, 1, "done"));
    QCOMPARE(RunJob("remover", folder.path(), {"D t"}), Steps(depth + 1, depth + 1, "done"));
    QCOMPARE(RunJob("helper", folder.path(), {"D s"}).size(), 2 * (depth + 1));
    QVERIFY(!QFile::exists(folder.filePath("s")));

    filetree::Build(folder.path(), {"s/"});
    for (int i = 0; i < width; ++i) {
        filetree::Write(filetree::ToPath(folder.filePath("s")) / std::to_string(i), QByteArray());
    }
    QCOMPARE(RunJob("copier", folder.path(), {"D s t"}), Steps(width, width, "done"));
    QCOMPARE(RunJob("remover", folder.path(), {"D s"}), Steps(width + 1, width + 1, "done"));
    QCOMPARE(RunJob("remover", folder.path(), {"D t"}), Steps(width + 1, width + 1, "done"));
}

QTEST_GUILESS_MAIN(TestFileFaults)
#include "tst_filefaults.moc"

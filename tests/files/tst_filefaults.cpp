/// What a Linux machine can do to a file job: no rights, no space, no memory, no thread, odd files, big
/// trees.

#include "filetree.h"
#include "jobrecorder.h"

#include <common/shell/filecopier.h>
#include <common/shell/filehelper.h>
#include <common/shell/fileremover.h>

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <cstdlib>
#include <new>
#include <pthread.h>
#include <sched.h>
#include <sys/fsuid.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <unistd.h>

using common::FileCopier;
using common::FileHelper;
using common::FileRemover;

namespace
{

/// What the next allocation of this thread must be for it to fail, and no other after it.
enum class Failing
{
    None,
    Any,
    Thread ///< That of a QThread.
};
thread_local Failing failing = Failing::None;

/// For one scope this thread and those it starts have the file rights of a user who is nobody.
class AsNobody
{
public:
    AsNobody() { ::setfsuid(nobody); }
    ~AsNobody() { ::setfsuid(::geteuid()); }

private:
    Q_DISABLE_COPY(AsNobody)

    static constexpr uid_t nobody = 65534;
};

/// A small file system of its own, seen by this process only and by no other.
class SmallDisk
{
public:
    explicit SmallDisk(const QString& folder_)
        : folder(folder_.toUtf8())
        , mounted(::unshare(CLONE_NEWNS) == 0 &&
                  ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                  ::mount("tmpfs", folder.constData(), "tmpfs", 0, "size=1m") == 0)
    {}
    ~SmallDisk()
    {
        if (mounted) {
            ::umount(folder.constData());
        }
    }
    bool IsMounted() const { return mounted; }

private:
    Q_DISABLE_COPY(SmallDisk)

    const QByteArray folder;
    const bool mounted;
};

QStringList CopyTree(const QString& source, const QString& destination)
{
    FileCopier copier;
    JobRecorder recorder(&copier);
    copier.AddDirectory(source, destination);
    copier.Copy();
    return recorder.Wait();
}

QStringList RemoveTree(const QString& path)
{
    FileRemover remover;
    JobRecorder recorder(&remover);
    remover.AddDirectory(path);
    remover.Remove();
    return recorder.Wait();
}

void MakeOddFile(const QString& kind, const QByteArray& path)
{
    if (kind == "fifo") {
        QCOMPARE(::mkfifo(path.constData(), 0600), 0);
    } else if (kind == "device") {
        if (::mknod(path.constData(), S_IFCHR | 0600, makedev(1, 5)) != 0) {
            QSKIP("this user may not make devices");
        }
    } else {
        const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        qstrncpy(address.sun_path, path.constData(), sizeof(address.sun_path));
        QCOMPARE(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
        ::close(socket);
    }
}

} // namespace

void* operator new(std::size_t size)
{
    if (failing == Failing::Any || (failing == Failing::Thread && size == sizeof(QThread))) {
        failing = Failing::None;
        throw std::bad_alloc();
    }
    if (void* memory = std::malloc(size)) {
        return memory;
    }
    throw std::bad_alloc();
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
    void noThread();
    void oddFiles_data();
    void oddFiles();
    void vanishesAfterTheScan();
    void readOnlyFolder();
    void fullDisk();
    void invalidUtf8();
    void deepTree();
    void wideFolder();
    void sourceFromTheKernel();
};

template<class Job>
void TestNoMemory(bool (Job::*start)(), const QString& name, Failing what, int code, const QString& complaint)
{
    JobLog log;
    log.onLine = [&](const QString& text) {
        if (text == name) {
            failing = what;
        }
    };
    Job job;
    JobRecorder recorder(&job);
    QCOMPARE((job.*start)(), what == Failing::Thread);
    // Without a task the failure is told at once.
    QCOMPARE(recorder.signalsSeen.size(), what == Failing::Thread ? 0 : 1);
    QCOMPARE(recorder.Wait(), QStringList(QString("failed %1").arg(code)));
    QCOMPARE(recorder.errorText, complaint.section(' ', 2));
    QCOMPARE(log.Lines(3), QStringList(complaint));

    log.onLine = nullptr;
    QVERIFY((job.*start)());
    QCOMPARE(recorder.Wait().last(), QString("done"));
}

void TestFileFaults::noMemory()
{
    TestNoMemory(&FileCopier::Copy, "Copy", Failing::Any, 700101,
                 "2 shell.filecopy Failed to create copy task!");
    TestNoMemory(&FileCopier::Copy, "Copy", Failing::Thread, 700108,
                 "3 shell.filecopy Thread variable is NULL!");
    TestNoMemory(&FileRemover::Remove, "Remove", Failing::Any, 700201,
                 "2 shell.fileremove Failed to create remove task!");
    TestNoMemory(&FileRemover::Remove, "Remove", Failing::Thread, 700205,
                 "3 shell.fileremove Thread variable is NULL!");
}

void TestFileFaults::noThread()
{
    pthread_attr_t usual;
    pthread_attr_t huge;
    QCOMPARE(::pthread_getattr_default_np(&usual), 0);
    ::pthread_attr_init(&huge);
    QCOMPARE(::pthread_attr_setstacksize(&huge, std::size_t{1} << 50), 0);
    FileCopier copier;
    JobRecorder recorder(&copier);
    QCOMPARE(::pthread_setattr_default_np(&huge), 0);
    const bool started = copier.Copy();
    QCOMPARE(::pthread_setattr_default_np(&usual), 0);
    QVERIFY(started);
    QCOMPARE(recorder.Wait(), QStringList("failed 700108"));
    copier.Copy();
    QCOMPARE(recorder.Wait(), QStringList({"failed 700108", "done"}));
}

void TestFileFaults::oddFiles_data()
{
    QTest::addColumn<QString>("kind");
    QTest::newRow("fifo") << "fifo";
    QTest::newRow("socket") << "socket";
    QTest::newRow("endless device") << "device";
}

void TestFileFaults::oddFiles()
{
    QFETCH(QString, kind);

    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"s/", "t/x=old"});
    MakeOddFile(kind, folder.filePath("s/x").toUtf8());
    if (QTest::currentTestFailed() || !QFileInfo::exists(folder.filePath("s/x"))) {
        return;
    }
    QCOMPARE(CopyTree(folder.filePath("s"), folder.filePath("t")), QStringList("failed 700107"));
    QCOMPARE(filetree::Snapshot(folder.filePath("t")), QStringList("x=old"));
    QCOMPARE(RemoveTree(folder.filePath("s")), Steps(2, 2, "done"));
}

void TestFileFaults::vanishesAfterTheScan()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"s/a=1", "s/b=2"});
    JobLog log;
    log.onLine = [&](const QString& text) {
        if (text == "Directories scanning finished.") {
            QFile::remove(folder.filePath("s/a"));
            QFile::remove(folder.filePath("s/b"));
        }
    };
    QCOMPARE(CopyTree(folder.filePath("s"), folder.filePath("t")), QStringList("failed 700103"));
    filetree::Build(folder.path(), {"s/a=1", "s/b=2"});
    QCOMPARE(RemoveTree(folder.filePath("s")), Steps(3, 3, "done"));
}

void TestFileFaults::readOnlyFolder()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"s/a=1", "t/b=2", "u/a=3"});
    for (const char* name : {"t", "u"}) {
        QCOMPARE(::chmod(folder.filePath(name).toUtf8().constData(), 0555), 0);
    }
    QCOMPARE(::chmod(folder.path().toUtf8().constData(), 0755), 0);
    {
        const AsNobody nobody;
        QCOMPARE(CopyTree(folder.filePath("s"), folder.filePath("t")), QStringList("failed 700107"));
        QCOMPARE(CopyTree(folder.filePath("s"), folder.filePath("t/x")), QStringList("failed 700104"));
        QCOMPARE(CopyTree(folder.filePath("s"), folder.filePath("u")), QStringList("failed 700106"));
        QCOMPARE(RemoveTree(folder.filePath("t")), QStringList("failed 700204"));
    }
    QCOMPARE(filetree::Snapshot(folder.path()), QStringList({"s/a=1", "t/b=2", "u/a=3"}));
    for (const char* name : {"t", "u"}) {
        ::chmod(folder.filePath(name).toUtf8().constData(), 0755);
    }
}

void TestFileFaults::fullDisk()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"s/a=" + QString(700000, 'a'), "s/b=" + QString(700000, 'b'), "t/"});
    const SmallDisk disk(folder.filePath("t"));
    if (!disk.IsMounted()) {
        QSKIP("this user may not mount a file system");
    }
    QCOMPARE(CopyTree(folder.filePath("s"), folder.filePath("t")), Steps(1, 2, "failed 700107"));
    // No half file is left.
    const QStringList copied = filetree::Snapshot(folder.filePath("t"));
    QCOMPARE(copied.size(), 1);
    QCOMPARE(copied.first().size(), 700002);
}

// Qt does not list such names, as no QString can hold them: the file is not copied, its folder is not
// emptied.
void TestFileFaults::invalidUtf8()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"s/a=1"});
    const std::filesystem::path odd = std::filesystem::path(folder.filePath("s").toStdString()) / "x\xff";
    filetree::Write(odd, "2");
    QCOMPARE(CopyTree(folder.filePath("s"), folder.filePath("t")), Steps(1, 1, "done"));
    QCOMPARE(RemoveTree(folder.filePath("s")), Steps(1, 2, "failed 700203"));
    QVERIFY(std::filesystem::remove(odd));
}

void TestFileFaults::deepTree()
{
    constexpr int depth = 2000;
    const QTemporaryDir folder("/tmp/d");
    const QString below = QString("/d").repeated(depth - 1);
    QVERIFY(QDir().mkpath(folder.filePath("s") + below));
    filetree::Write(filetree::ToPath(folder.filePath("s") + below + "/f"), "1");
    QCOMPARE(CopyTree(folder.filePath("s"), folder.filePath("t")), Steps(1, 1, "done"));
    QVERIFY(QFile::exists(folder.filePath("t") + below + "/f"));
    QCOMPARE(RemoveTree(folder.filePath("t")), Steps(depth + 1, depth + 1, "done"));
    FileHelper helper(folder.filePath("s"));
    QSignalSpy found(&helper, &FileHelper::scan);
    QVERIFY(helper.Remove());
    QCOMPARE(found.size(), depth + 1);
}

void TestFileFaults::wideFolder()
{
    constexpr int count = 100000;
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"s/"});
    const auto source = filetree::ToPath(folder.filePath("s"));
    for (int i = 0; i < count; ++i) {
        filetree::Write(source / std::to_string(i), QByteArray());
    }
    QCOMPARE(CopyTree(folder.filePath("s"), folder.filePath("t")), Steps(count, count, "done"));
    QCOMPARE(RemoveTree(folder.filePath("s")), Steps(count + 1, count + 1, "done"));
    QCOMPARE(RemoveTree(folder.filePath("t")), Steps(count + 1, count + 1, "done"));
}

// Such a file has no size and still a content.
void TestFileFaults::sourceFromTheKernel()
{
    const QTemporaryDir folder;
    FileCopier copier;
    JobRecorder recorder(&copier);
    copier.AddFile("/proc/version", folder.filePath("version"));
    copier.Copy();
    QCOMPARE(recorder.Wait(), Steps(1, 1, "done"));
    QVERIFY(filetree::Snapshot(folder.path()).first().startsWith("version=Linux"));
}

QTEST_GUILESS_MAIN(TestFileFaults)
#include "tst_filefaults.moc"

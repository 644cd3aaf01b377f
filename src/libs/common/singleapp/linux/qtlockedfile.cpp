#include <common/singleapp/qtlockedfile.h>

#include "../../platform/linux/filedescriptor.h"

#include <cerrno>
#include <mutex>
#include <set>

#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>

namespace QtLP_Private
{

using common::platform::FileDescriptor;

/// A separate open file description of the same inode, which holds the lock even after QFile::close.
struct QtLockedFile::Handles
{
    FileDescriptor lock;
};

namespace
{

/// The locks of this process. A forked child shares their open file descriptions, so it closes its copies.
/// A lock therefore ends with the process that took it.
struct OwnLocks
{
    static OwnLocks& Instance()
    {
        static auto* const locks = new OwnLocks; // Never destroyed: the process may fork during exit.
        return *locks;
    }

    OwnLocks()
    {
        ::pthread_atfork([] { Instance().mutex.lock(); }, [] { Instance().mutex.unlock(); },
                         [] {
                             for (FileDescriptor* const lock : Instance().locks) {
                                 lock->Close();
                             }
                             Instance().mutex.unlock();
                         });
    }

    std::mutex mutex;
    std::set<FileDescriptor*> locks;
};

bool Take(FileDescriptor& lock, const QFile& file, int operation, bool block)
{
    const QByteArray path = QByteArrayLiteral("/proc/self/fd/") + QByteArray::number(file.handle());
    lock = FileDescriptor(::open(path.constData(), O_RDWR | O_CLOEXEC));
    if (!lock.IsOpen()) {
        lock = FileDescriptor(::open(path.constData(), O_RDONLY | O_CLOEXEC));
    }
    if (TEMP_FAILURE_RETRY(::flock(lock.Get(), block ? operation : operation | LOCK_NB)) == 0) {
        return true;
    }
    if (errno != EWOULDBLOCK) {
        qErrnoWarning("QtLockedFile::lock(): flock failed");
    }
    lock.Close();
    return false;
}

} // namespace

QtLockedFile::QtLockedFile(const QString& name)
    : QFile(name)
    , d(std::make_unique<Handles>())
{
    const std::lock_guard guard(OwnLocks::Instance().mutex);
    OwnLocks::Instance().locks.insert(&d->lock);
}

QtLockedFile::~QtLockedFile()
{
    const std::lock_guard guard(OwnLocks::Instance().mutex);
    OwnLocks::Instance().locks.erase(&d->lock);
}

/// Locks one byte, at the offset of a free slot, to count the readers. Byte locks and flock do not interact.
/// Readers without write permission, or on a file system without byte locks, are not counted.
bool QtLockedFile::TakeRead(bool block)
{
    if (!Take(d->lock, *this, LOCK_SH, block)) {
        return false;
    }
    struct flock range = {};
    range.l_type = F_WRLCK;
    range.l_whence = SEEK_SET;
    range.l_len = 1;
    for (range.l_start = 0; range.l_start < readerSlots; ++range.l_start) {
        if (::fcntl(d->lock.Get(), F_OFD_SETLK, &range) == 0 || (errno != EAGAIN && errno != EACCES)) {
            return true;
        }
    }
    qWarning("QtLockedFile::lock(): too many readers");
    Release();
    return false;
}

bool QtLockedFile::TakeWrite(bool block)
{
    return Take(d->lock, *this, LOCK_EX, block);
}

void QtLockedFile::Release()
{
    d->lock.Close();
}

} // namespace QtLP_Private

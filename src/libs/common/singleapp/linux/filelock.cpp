#include "../filelock.h"

#include "../../platform/linux/filedescriptor.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <vector>

#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>

namespace QtLP_Private
{

using common::platform::FileDescriptor;

/**
 * A separate open file for the same inode, with flock on it. It outlasts QFile::close, as a mutex does.
 *
 * Each reader also holds a lock on one byte, the number of its slot, so that readers can be counted. Such
 * locks and flock do not interact.
 */
struct FileLock::Handles
{
    FileDescriptor lock;
};

namespace
{

/**
 * The locks of this process. flock belongs to the open file, which a forked child shares, so the child closes
 * its copies: a lock ends with the process that took it.
 */
class OwnLocks
{
public:
    static OwnLocks& Instance()
    {
        static auto* const locks = new OwnLocks; // Never destroyed: a fork may come late.
        return *locks;
    }

    void Add(FileDescriptor* lock)
    {
        const std::lock_guard guard(mutex);
        locks.push_back(lock);
    }

    void Remove(FileDescriptor* lock)
    {
        const std::lock_guard guard(mutex);
        locks.erase(std::remove(locks.begin(), locks.end(), lock), locks.end());
    }

private:
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
    std::vector<FileDescriptor*> locks;
};

/// Opens the file of `file` again, with the rights that there are.
FileDescriptor Reopen(const QFile& file)
{
    const QByteArray path = QByteArrayLiteral("/proc/self/fd/") + QByteArray::number(file.handle());
    FileDescriptor descriptor;
    for (const int access : {O_RDWR, O_RDONLY, O_WRONLY}) {
        if (!descriptor.IsOpen()) {
            descriptor = FileDescriptor(::open(path.constData(), access | O_CLOEXEC));
        }
    }
    return descriptor;
}

bool Take(FileDescriptor& lock, const QFile& file, int operation, bool block)
{
    lock = Reopen(file);
    if (!lock.IsOpen()) {
        qErrnoWarning("QtLockedFile::lock(): open failed");
        return false;
    }
    int result = 0;
    do {
        result = ::flock(lock.Get(), block ? operation : operation | LOCK_NB);
    } while (result != 0 && errno == EINTR);
    if (result == 0) {
        return true;
    }
    if (errno != EWOULDBLOCK) {
        qErrnoWarning("QtLockedFile::lock(): flock failed");
    }
    lock.Close();
    return false;
}

/// Returns false if all slots are busy. A reader that may not write to the file, or whose file system has no
/// such locks, cannot hold one and is not counted.
bool TakeSlot(const FileDescriptor& lock)
{
    for (int number = 0; number < readerSlots; ++number) {
        struct flock range = {};
        range.l_type = F_WRLCK;
        range.l_whence = SEEK_SET;
        range.l_start = number;
        range.l_len = 1;
        if (::fcntl(lock.Get(), F_OFD_SETLK, &range) == 0 || (errno != EAGAIN && errno != EACCES)) {
            return true;
        }
    }
    return false;
}

} // namespace

FileLock::FileLock()
    : d(std::make_unique<Handles>())
{
    OwnLocks::Instance().Add(&d->lock);
}

FileLock::~FileLock()
{
    OwnLocks::Instance().Remove(&d->lock);
}

bool FileLock::TakeRead(const QFile& file, bool block)
{
    if (!Take(d->lock, file, LOCK_SH, block)) {
        return false;
    }
    if (!TakeSlot(d->lock)) {
        qWarning("QtLockedFile::lock(): too many readers");
        Release();
        return false;
    }
    return true;
}

bool FileLock::TakeWrite(const QFile& file, bool block)
{
    return Take(d->lock, file, LOCK_EX, block);
}

void FileLock::Release()
{
    d->lock.Close();
}

} // namespace QtLP_Private

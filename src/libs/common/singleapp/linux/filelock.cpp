#include "../filelock.h"

#include "../../platform/linux/filedescriptor.h"

#include <QFile>

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>

namespace QtLP_Private
{

namespace
{

/// A lock on the open file `descriptor`; false if others hold it.
bool TakeFlock(int descriptor, int operation, bool block)
{
    int result = 0;
    do {
        result = ::flock(descriptor, block ? operation : operation | LOCK_NB);
    } while (result != 0 && errno == EINTR);
    if (result != 0 && errno != EWOULDBLOCK) {
        qErrnoWarning("QtLockedFile::lock(): flock failed");
    }
    return result == 0;
}

/**
 * flock on a descriptor of its own for the same open file, so that the lock outlasts QFile::close, as it does
 * with mutexes.
 *
 * Each reader also holds one byte of the file locked, which is what counts them: the number of the byte is
 * the number of the reader's slot. These locks and flock do not see each other.
 */
class FileLock final : public IFileLock
{
public:
    bool TakeRead(const QFile& file, bool block) override
    {
        if (!Take(file, LOCK_SH, block)) {
            return false;
        }
        if (!TakeSlot()) {
            qWarning("QtLockedFile::lock(): too many readers");
            Release();
            return false;
        }
        return true;
    }

    bool TakeWrite(const QFile& file, bool block) override { return Take(file, LOCK_EX, block); }

    void Release() override
    {
        slot.Close();
        if (lock.IsOpen()) {
            // Descriptors of a forked child may share the open file, so closing ours alone would not do.
            ::flock(lock.Get(), LOCK_UN);
        }
        lock.Close();
    }

    ~FileLock() override { FileLock::Release(); }

private:
    bool Take(const QFile& file, int operation, bool block)
    {
        lock = common::platform::FileDescriptor(::fcntl(file.handle(), F_DUPFD_CLOEXEC, 0));
        if (!lock.IsOpen()) {
            qErrnoWarning("QtLockedFile::lock(): fcntl failed");
            return false;
        }
        if (!TakeFlock(lock.Get(), operation, block)) {
            lock.Close();
            return false;
        }
        return true;
    }

    /// False if all slots are busy. A reader who may not write to the file, or whose file system has no such
    /// locks, cannot hold one and is not counted.
    bool TakeSlot()
    {
        const QByteArray path = QByteArrayLiteral("/proc/self/fd/") + QByteArray::number(lock.Get());
        slot = common::platform::FileDescriptor(::open(path.constData(), O_RDWR | O_CLOEXEC));
        if (!slot.IsOpen()) {
            return true;
        }
        for (int number = 0; number < readerSlots; ++number) {
            struct flock range = {};
            range.l_type = F_WRLCK;
            range.l_whence = SEEK_SET;
            range.l_start = number;
            range.l_len = 1;
            if (::fcntl(slot.Get(), F_OFD_SETLK, &range) == 0) {
                return true;
            }
            if (errno != EAGAIN && errno != EACCES) {
                return true;
            }
        }
        return false;
    }

    common::platform::FileDescriptor lock;
    common::platform::FileDescriptor slot;
};

} // namespace

std::unique_ptr<IFileLock> CreateFileLock()
{
    return std::make_unique<FileLock>();
}

} // namespace QtLP_Private

#include <common/singleapp/qtlockedfile.h>

namespace QtLP_Private
{

bool QtLockedFile::open(OpenMode mode)
{
    if ((mode & QIODevice::Truncate) != 0) {
        qWarning("QtLockedFile::open(): Truncate mode not allowed.");
        return false;
    }
    return QFile::open(mode);
}

bool QtLockedFile::lock(LockMode mode, bool block)
{
    if (!isOpen()) {
        qWarning("QtLockedFile::lock(): file is not opened");
        return false;
    }
    if (mode == NoLock) {
        return unlock();
    }
    if (mode == lockMode) {
        return true;
    }
    unlock();
    if (!(mode == ReadLock ? TakeRead(block) : TakeWrite(block))) {
        return false;
    }
    lockMode = mode;
    return true;
}

bool QtLockedFile::unlock()
{
    if (!isOpen()) {
        qWarning("QtLockedFile::unlock(): file is not opened");
        return false;
    }
    if (isLocked()) {
        Release();
        lockMode = NoLock;
    }
    return true;
}

} // namespace QtLP_Private

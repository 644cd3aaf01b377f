#include <common/singleapp/qtlockedfile.h>

#include "filelock.h"

namespace QtLP_Private
{

QtLockedFile::QtLockedFile()
    : QtLockedFile(QString())
{}

QtLockedFile::QtLockedFile(const QString& name)
    : QFile(name)
    , fileLock(std::make_unique<FileLock>())
{}

QtLockedFile::~QtLockedFile()
{
    if (isOpen()) {
        unlock();
    }
}

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
    if (isLocked()) {
        unlock();
    }
    const bool taken =
        mode == ReadLock ? fileLock->TakeRead(*this, block) : fileLock->TakeWrite(*this, block);
    if (taken) {
        lockMode = mode;
    }
    return taken;
}

bool QtLockedFile::unlock()
{
    if (!isOpen()) {
        qWarning("QtLockedFile::unlock(): file is not opened");
        return false;
    }
    if (isLocked()) {
        fileLock->Release();
        lockMode = NoLock;
    }
    return true;
}

} // namespace QtLP_Private

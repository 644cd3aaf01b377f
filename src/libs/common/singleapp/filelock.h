#pragma once

#include <QtGlobal>

#include <memory>

class QFile;

namespace QtLP_Private
{

/// How many readers may hold the lock of one file at a time.
constexpr int readerSlots = 64;

/// What a platform offers for QtLockedFile. Warns about what goes wrong; that others hold the lock is no
/// fault.
class IFileLock
{
public:
    IFileLock() = default;
    virtual ~IFileLock() = default; ///< Gives up what is held, without a word.

    /// Become a reader or the writer of `file`, which is open. Called only while nothing is held.
    virtual bool TakeRead(const QFile& file, bool block) = 0;
    virtual bool TakeWrite(const QFile& file, bool block) = 0;
    virtual void Release() = 0;

private:
    Q_DISABLE_COPY(IFileLock)
};

std::unique_ptr<IFileLock> CreateFileLock();

} // namespace QtLP_Private

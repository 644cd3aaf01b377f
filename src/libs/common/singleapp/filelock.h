#pragma once

#include <QtGlobal>

#include <memory>

class QFile;

namespace QtLP_Private
{

/// Number of readers that may hold the lock of one file at a time.
constexpr int readerSlots = 64;

/// The lock of a QtLockedFile. Warns about failures; a lock that others hold is none.
class FileLock
{
public:
    FileLock();
    ~FileLock(); ///< Silently releases the lock.

    /// Takes the lock of `file`, which is open, as a reader or as the writer. No lock may be held.
    bool TakeRead(const QFile& file, bool block);
    bool TakeWrite(const QFile& file, bool block);
    void Release();

private:
    Q_DISABLE_COPY(FileLock)

    struct Handles; // What the platform holds.
    const std::unique_ptr<Handles> d;
};

} // namespace QtLP_Private

#pragma once

#include <common/vxcommon_export.h>

#include <QFile>

#include <memory>

namespace QtLP_Private
{

/**
 * A file with an advisory lock between processes, for one writer or up to 64 readers.
 *
 * The lock does not affect reading and writing. On Windows it is a set of named mutexes (CreateMutexW) whose
 * names derive from the path, on Linux flock(2) on the file. The system releases it when its process dies; a
 * forked child does not inherit it. On Windows a mutex belongs to a thread, so lock and unlock on one thread;
 * two objects of one thread do not exclude each other there.
 *
 * Failures are reported by qWarning.
 */
class VXCOMMON_EXPORT QtLockedFile : public QFile
{
public:
    /// How the lock is held.
    enum LockMode : int
    {
        NoLock = 0,
        ReadLock = 1, ///< Shared by up to 64 readers, without a writer.
        WriteLock = 2 ///< Held by one writer.
    };

    explicit QtLockedFile(const QString& name = {}); ///< Does not open the file.
    ~QtLockedFile() override;                        ///< Releases the lock.

    /// Opens the file. Refuses QIODevice::Truncate, which would empty the file before the lock is held.
    /// @warning WriteOnly alone empties the file, as with QFile. To change its contents, use ReadWrite.
    bool open(OpenMode mode) override;

    /**
     * Takes the lock in `mode`; NoLock releases it. A lock in another mode is released first, so another
     * process may take it in between.
     *
     * @param block Wait without a limit. A reader waits only for the writer, never for one of the 64 slots.
     * While a writer waits, Linux admits new readers and Windows does not.
     * @return Whether the lock is held. False without a warning if others hold it; a lock in another mode is
     * lost then.
     */
    bool lock(LockMode mode, bool block);

    /// Releases the lock. Returns false if the file is not open.
    bool unlock();

    bool isLocked() const { return lockMode != NoLock; } ///< Returns whether this object holds the lock.

private:
    Q_DISABLE_COPY(QtLockedFile)

    static constexpr int readerSlots = 64;

    // Implemented by each platform. A lock that others hold is not a failure.
    struct Handles;
    bool TakeRead(bool block);
    bool TakeWrite(bool block);
    void Release();

    const std::unique_ptr<Handles> d;
    LockMode lockMode = NoLock;
};

} // namespace QtLP_Private

#pragma once

#include <common/vxcommon_export.h>

#include <QFile>

#include <memory>

namespace QtLP_Private
{

/**
 * A file with an advisory lock between processes, for one writer or up to 64 readers.
 *
 * The lock does not restrict reading or writing. On Windows, it is a set of named mutexes (CreateMutexW)
 * whose names derive from the path; on Linux, it is a flock(2) lock on the file. The system releases the
 * lock when its process dies; a forked child does not inherit the lock. A Windows mutex belongs to a thread:
 * lock and unlock on the same thread. Two objects on one thread do not exclude each other on Windows.
 *
 * Failures are logged with qWarning.
 */
class VXCOMMON_EXPORT QtLockedFile : public QFile
{
public:
    /// Mode of the lock.
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
     * process may take the lock before this call does.
     *
     * @param block If true, waits without a limit. A reader waits only for the writer, never for one of the
     * 64 slots. While a writer waits, Linux admits new readers and Windows does not.
     * @return Whether the lock is held. If another holder prevents this, returns false without a warning; a
     * previous lock in another mode is lost.
     */
    bool lock(LockMode mode, bool block);

    /// Releases the lock. Returns false if the file is not open.
    bool unlock();

    bool isLocked() const { return lockMode != NoLock; } ///< Returns whether this object holds the lock.

private:
    Q_DISABLE_COPY(QtLockedFile)

    static constexpr int readerSlots = 64;

    // Each platform implements these functions. They log no warning if another process holds the lock.
    struct Handles;
    bool TakeRead(bool block);
    bool TakeWrite(bool block);
    void Release();

    const std::unique_ptr<Handles> d;
    LockMode lockMode = NoLock;
};

} // namespace QtLP_Private

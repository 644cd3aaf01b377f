#pragma once

#include <common/vxcommon_export.h>

#include <QFile>

#include <memory>

namespace QtLP_Private
{

class IFileLock;

/**
 * A file with an advisory lock between processes, for one writer or up to 64 readers.
 *
 * The lock lies beside the data: it hinders nobody from reading or writing. On Windows it is a set of named
 * mutexes (CreateMutexW) whose names follow from the path, elsewhere flock(2) on the file itself. The system
 * frees it when its process dies. On Windows a mutex belongs to a thread, so lock and unlock on one thread;
 * there two objects of one thread do not hinder each other.
 *
 * Complaints go through qWarning.
 */
class VXCOMMON_EXPORT QtLockedFile : public QFile
{
public:
    /// How the lock is held.
    enum LockMode : int
    {
        NoLock = 0,
        ReadLock = 1, ///< Shared by up to 64 readers, without a writer.
        WriteLock = 2 ///< Held by one.
    };

    QtLockedFile();                             ///< Without a file name yet.
    explicit QtLockedFile(const QString& name); ///< Does not open the file.
    ~QtLockedFile() override;                   ///< Gives up the lock.

    /// Opens the file; QIODevice::Truncate is refused, since it would empty the file before the lock is held.
    /// WriteOnly alone empties it as well, as QFile does: open a file with ReadWrite to change what it holds.
    bool open(OpenMode mode) override;

    /**
     * Takes the lock in `mode`; NoLock gives it up. A lock in another mode is given up first, and somebody
     * else may come in between.
     *
     * @param block wait for others without a limit. A reader never waits for one of the 64 places of readers,
     * only for the writer. While a writer waits, new readers are let in on Linux, and not on Windows.
     * @return whether the lock is held; false without a warning if others hold it. A lock in another mode is
     * then lost.
     */
    bool lock(LockMode mode, bool block);

    /// Gives up the lock. False if the file is not open.
    bool unlock();

    bool isLocked() const { return lockMode != NoLock; } ///< Whether this object holds the lock.

private:
    Q_DISABLE_COPY(QtLockedFile)

    std::unique_ptr<IFileLock> fileLock; ///< Made on first use, kept until destruction.
    LockMode lockMode = NoLock;
};

} // namespace QtLP_Private

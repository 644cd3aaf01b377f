#pragma once

#include <common/vxcommon_export.h>

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

#include <utility>

namespace common
{

class FileTask;

/**
 * Copies files, symbolic links and directory trees on a separate thread.
 *
 * @code
 * auto* copier = new common::FileCopier;
 * copier->AddDirectory(QStringLiteral("/opt/skins"), QStringLiteral("/home/ann/skins"));
 * QObject::connect(copier, &common::FileCopier::succesed, copier, &QObject::deleteLater);
 * copier->Copy();
 * @endcode
 *
 * Add paths with the Add functions, then call Copy. A job first lists the files and links of the
 * directories, without hidden entries. Then it copies all files, and after them all links. It stops at the
 * first failure and keeps what it has copied.
 *
 * Existing files and links at a destination are replaced. The job fails if the destination of a file or link
 * is an existing directory. A link in a tree is copied as a link, with a target relative to the directory of
 * the source link. A directory without entries to copy is not created.
 *
 * A job ends with exactly one of `succesed` and `failed`. Details are logged on the channel
 * "shell.filecopy".
 *
 * @note Use a copier only on the thread that it lives in. The event loop of that thread delivers all signals,
 * apart from `failed` with NoTask, which is emitted inside Copy.
 */
class VXCOMMON_EXPORT FileCopier : public QObject
{
    Q_OBJECT

public:
    /// Error codes of `failed`.
    enum Error : int
    {
        NoTask = 700101,                 ///< There is not enough memory for the job.
        NoSourceDirectory = 700102,      ///< A source directory does not exist or cannot be read completely.
        NoSource = 700103,               ///< A source file or link does not exist.
        NoDestinationDirectory = 700104, ///< The parent directory of a destination cannot be created.
        Aborted = 700105,                ///< The job was stopped by Abort or a new Copy.
        DestinationNotRemoved = 700106,  ///< An existing destination cannot be removed.
        /// The copying itself failed. The source may be a fifo, a socket or a device, or source and
        /// destination may be the same file.
        CopyFailed = 700107,
        NoThread = 700108 ///< The thread for the job cannot be started.
    };

    FileCopier();
    /// Stops a running job as Abort(true) does.
    ~FileCopier() override;

public Q_SLOTS:
    /**
     * Starts a job with everything that has been added. Stops a running job first, as Abort(true) does; of
     * its signals, only those already queued are still emitted. Keeps the lists, so a second call copies
     * everything again.
     *
     * @return false if there is no memory for the job; `failed` has then been emitted
     */
    bool Copy();

    /**
     * Blocks until the running job has ended, without running the event loop. The job's signals are emitted
     * afterwards. Does nothing if no job is running. The current item, such as a large file, can take a long
     * time. In a GUI program, move the copier to a separate thread and call Abort there.
     *
     * @param force true to stop the job after the current item, false to wait for all items
     */
    void Abort(bool force = true);

    /// Adds a link that is copied as a link. Like the two functions below, does not access the disk.
    void AddSymlink(const QString& fileSourcePath, const QString& fileDestPath);
    /// Adds a file. The job creates missing parent directories of the destination.
    void AddFile(const QString& fileSourcePath, const QString& fileDestPath);
    /// Adds a tree. The job copies the contents of the source directory into the destination directory.
    void AddDirectory(const QString& dirSourcePath, const QString& dirDestPath);

Q_SIGNALS:
    /// Emitted when item number `current` of `total` is finished. All directories are scanned before the
    /// first item is copied.
    void progress(int current, int total);
    /// Emitted when everything is copied.
    void succesed();
    /// Emitted when the job fails; the code is an Error.
    void failed(int errorCode, const QString& errorText);

private:
    Q_DISABLE_COPY(FileCopier)

    using PathPair = std::pair<QString, QString>;

    QList<PathPair> symlinks;
    QList<PathPair> files;
    QList<PathPair> directories;
    QPointer<FileTask> task;
};

} // namespace common

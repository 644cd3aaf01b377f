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
 * Copies files, symbolic links and directory trees on a thread of its own.
 *
 * @code
 * auto* copier = new common::FileCopier;
 * copier->AddDirectory(QStringLiteral("/opt/skins"), QStringLiteral("/home/ann/skins"));
 * QObject::connect(copier, &common::FileCopier::succesed, copier, &QObject::deleteLater);
 * copier->Copy();
 * @endcode
 *
 * Collect the work with the Add functions, then call Copy. A job first turns the directories into files and
 * links, hidden entries left out; a directory without any of them is not made. Then it copies all files and
 * after them all links, stops at the first failure, and leaves in place what it has copied. An existing
 * destination file is replaced, an existing destination directory is not. A link in a tree is copied as a
 * link, with its target relative to the folder it was found in, and is never followed.
 *
 * All signals are emitted in the copier's own thread, through its event loop, apart from NoTask, which is
 * emitted inside Copy. A job ends in exactly one of `succesed` and `failed`.
 *
 * Details are written on the channel "shell.filecopy". Use a copier from one thread, the one that it lives
 * on.
 */
class VXCOMMON_EXPORT FileCopier : public QObject
{
    Q_OBJECT

public:
    /// Error codes of `failed`.
    enum Error : int
    {
        NoTask = 700101,                 ///< No memory for the job.
        NoSourceDirectory = 700102,      ///< A source directory does not exist or cannot be read to its end.
        NoSource = 700103,               ///< A source file or link does not exist.
        NoDestinationDirectory = 700104, ///< The directory of a destination cannot be created.
        Aborted = 700105,                ///< Abort or a new Copy.
        DestinationNotRemoved = 700106,  ///< What exists at a destination cannot be removed.
        /// The copying itself failed. The source may be a fifo, a socket or a device, or the very file at the
        /// destination.
        CopyFailed = 700107,
        NoThread = 700108 ///< No thread for the job.
    };

    FileCopier();
    /// Stops a running job and waits for it, as Abort(true) does.
    ~FileCopier() override;

public Q_SLOTS:
    /**
     * Starts a job with all that was added so far; later additions do not reach it. A job that is running is
     * stopped and waited for first, and only those of its signals that are on their way already still come.
     * The lists are kept, so a second call copies everything once more.
     *
     * @return false only if there was no memory for the job; `failed` has then been emitted, too
     */
    bool Copy();

    /**
     * Blocks until the running job has ended, without running the event loop, and forgets it. Its signals are
     * emitted afterwards. Does nothing without a job. A window moves the copier to a thread of its own and
     * calls Abort there, since the item at hand, for example a large file, may take long.
     *
     * @param force stop the job at the next item; otherwise wait for all of it
     */
    void Abort(bool force = true);

    /// Adds a link to be copied as a link. Nothing is looked at on the disk here and in the two below.
    void AddSymlink(const QString& fileSourcePath, const QString& fileDestPath);
    /// Adds a file. Missing folders on the way to the destination are made.
    void AddFile(const QString& fileSourcePath, const QString& fileDestPath);
    /// Adds a tree: what is below the source comes to stand below the destination.
    void AddDirectory(const QString& dirSourcePath, const QString& dirDestPath);

Q_SIGNALS:
    /// Another item is done, `current` of `total`. Nothing is reported while directories are scanned.
    void progress(int current, int total);
    /// Everything is copied.
    void succesed();
    /// The job has ended early.
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

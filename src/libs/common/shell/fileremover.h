#pragma once

#include <common/vxcommon_export.h>

#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>

namespace common
{

class FileTask;

/**
 * Removes files, links and directory trees on a separate thread. A missing entry is not a failure.
 *
 * @code
 * auto* remover = new common::FileRemover;
 * remover->AddDirectory(QStringLiteral("/home/ann/skins"));
 * QObject::connect(remover, &common::FileRemover::succesed, remover, &QObject::deleteLater);
 * remover->Remove();
 * @endcode
 *
 * Add paths with the Add functions, then call Remove. A job first lists the entries of the directories,
 * without hidden ones. Then it removes all files and links, and finally all directories: children before
 * their parents, and the added directories last. It stops at the first failure.
 *
 * Hidden entries are kept, so a directory that contains one cannot be removed. A link in a tree, or one that
 * is added as a file, is removed as a link; its target is kept. If a link is added as a directory, the
 * contents of its target are removed.
 *
 * A job ends with exactly one of `succesed` and `failed`. Details are logged on the channel
 * "shell.fileremove".
 *
 * @note Use a remover only on the thread that it lives in. The event loop of that thread delivers all
 * signals, apart from `failed` with NoTask, which is emitted inside Remove.
 */
class VXCOMMON_EXPORT FileRemover : public QObject
{
    Q_OBJECT

public:
    /// Error codes of `failed`.
    enum Error : int
    {
        NoTask = 700201,              ///< There is not enough memory for the job.
        Aborted = 700202,             ///< The job was stopped by Abort or a new Remove.
        DirectoryNotRemoved = 700203, ///< A directory cannot be removed.
        FileNotRemoved = 700204,      ///< A file or a link cannot be removed.
        NoThread = 700205             ///< The thread for the job cannot be started.
    };

    FileRemover();
    /// Stops a running job as Abort(true) does.
    ~FileRemover() override;

public Q_SLOTS:
    /**
     * Starts a job with everything that has been added. Stops a running job first, as Abort(true) does; of
     * its signals, only those already queued are still emitted. Keeps the lists, so a second call repeats the
     * work.
     *
     * @return false if there is no memory for the job; `failed` has then been emitted
     */
    bool Remove();

    /**
     * Blocks until the running job has ended, without running the event loop. The job's signals are emitted
     * afterwards. Does nothing if no job is running. The current item, including its retries, can take a long
     * time. In a GUI program, move the remover to a separate thread and call Abort there.
     *
     * @param force true to stop the job after the current item, false to wait for all items
     */
    void Abort(bool force = true);

    /// Adds a file or a link. Like AddDirectory, does not access the disk.
    void AddFile(const QString& filePath);
    /// Adds a directory and its contents.
    void AddDirectory(const QString& dirPath);

Q_SIGNALS:
    /// Emitted when item number `current` of `total` is finished. All directories are scanned before the
    /// first item is removed.
    void progress(int current, int total);
    /// Emitted when everything is removed.
    void succesed();
    /// Emitted when the job fails; the code is an Error.
    void failed(int errorCode, const QString& errorText);

private:
    Q_DISABLE_COPY(FileRemover)

    QStringList files;
    QStringList directories;
    QPointer<FileTask> task;
};

} // namespace common

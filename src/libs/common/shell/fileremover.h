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
 * Removes files, links and directory trees on a thread of its own. What is gone already is no failure.
 *
 * @code
 * auto* remover = new common::FileRemover;
 * remover->AddDirectory(QStringLiteral("/home/ann/skins"));
 * QObject::connect(remover, &common::FileRemover::succesed, remover, &QObject::deleteLater);
 * remover->Remove();
 * @endcode
 *
 * Collect the work with the Add functions, then call Remove. A job first looks into the directories, hidden
 * entries left out, then removes all files and links, and after them all directories, each behind those it
 * holds and the added ones last. It stops at the first failure; what is removed stays removed. A directory
 * with a hidden entry is never empty, so it cannot be removed. A link that is in a
 * tree or added as a file is removed as a link: what it leads to is not touched. A link that is added as a
 * directory stands for that directory, whose content is removed.
 *
 * All signals are emitted in the remover's own thread, through its event loop, apart from NoTask, which is
 * emitted inside Remove. A job ends in exactly one of `succesed` and `failed`.
 *
 * Details are written on the channel "shell.fileremove". Use a remover from one thread, the one that it lives
 * on.
 */
class VXCOMMON_EXPORT FileRemover : public QObject
{
    Q_OBJECT

public:
    /// Error codes of `failed`.
    enum Error : int
    {
        NoTask = 700201,              ///< No memory for the job.
        Aborted = 700202,             ///< Abort or a new Remove.
        DirectoryNotRemoved = 700203, ///< A directory cannot be removed.
        FileNotRemoved = 700204,      ///< A file or a link cannot be removed.
        NoThread = 700205             ///< No thread for the job.
    };

    FileRemover();
    /// Stops a running job and waits for it, as Abort(true) does.
    ~FileRemover() override;

public Q_SLOTS:
    /**
     * Starts a job with all that was added so far; later additions do not reach it. A job that is running is
     * stopped and waited for first, and only those of its signals that are on their way already still come.
     * The lists are kept, so a second call goes over everything once more.
     *
     * @return false only if there was no memory for the job; `failed` has then been emitted, too
     */
    bool Remove();

    /**
     * Blocks until the running job has ended, without running the event loop, and forgets it. Its signals are
     * emitted afterwards. Does nothing without a job. A window moves the remover to a thread of its own and
     * calls Abort there, since the item at hand, with its attempts, may take long.
     *
     * @param force stop the job at the next item; otherwise wait for all of it
     */
    void Abort(bool force = true);

    /// Adds a file or a link. Nothing is looked at on the disk here and below.
    void AddFile(const QString& filePath);
    /// Adds a directory with all that is in it.
    void AddDirectory(const QString& dirPath);

Q_SIGNALS:
    /// Another item is done, `current` of `total`. Nothing is reported while directories are scanned.
    void progress(int current, int total);
    /// Everything is gone.
    void succesed();
    /// The job has ended early.
    void failed(int errorCode, const QString& errorText);

private:
    Q_DISABLE_COPY(FileRemover)

    QStringList files;
    QStringList directories;
    QPointer<FileTask> task;
};

} // namespace common

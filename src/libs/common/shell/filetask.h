#pragma once

#include <common/logger/logger.h>

#include "directoryreach.h"
#include "taskprogress.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>

#include <atomic>
#include <functional>
#include <memory>
#include <new>

class QThread;

namespace common
{

struct ListedEntry;

/// Texts and codes of one kind of file job.
struct FileTaskTraits
{
    logger::Channel channel;
    const char* startText;
    int taskMissingCode;         ///< No memory for the task.
    const char* taskMissingText; ///< The text for taskMissingCode.
    int threadMissingCode;       ///< No memory for the thread, or the system cannot start one.
    int abortedCode;
    const char* failedText;   ///< %1 is the code.
    const char* finishedText; ///< %1 is the duration in milliseconds.
    const char* waitingText;  ///< Logged when Abort waits for a running job.
};

/**
 * One file job: the base class for copying and removing. The object belongs to its owner's thread and works
 * on a separate thread, which runs once. When that thread ends, the object deletes itself through the owner's
 * event loop.
 *
 * Caller and worker share only two atomic flags and the reports. The work lists in the derived classes
 * belong to the worker from Start on.
 */
class FileTask : public QObject
{
    Q_OBJECT

public:
    /// The destructor of a derived class must call Abort first: the worker still uses the members of that
    /// class.
    ~FileTask() override;

    /// Starts the worker. The job fails if no thread can be started.
    void Start();

    const std::shared_ptr<TaskProgress> progress = std::make_shared<TaskProgress>();

public Q_SLOTS:
    /// Waits until the worker has ended. With `force`, the worker stops at the next item.
    void Abort(bool force = true);

Q_SIGNALS:
    // Emitted on the worker thread: use queued connections.
    void reported();                           ///< See TaskProgress.
    void ended(int code, const QString& text); ///< 0 is success.

private Q_SLOTS:
    void run();

protected:
    explicit FileTask(const FileTaskTraits& traits_);

    /// Turns directories into items. Like all worker steps, returns an error code; 0 means success.
    virtual int Scan() = 0;
    /// Processes the items one by one and reports each.
    virtual int WorkAll() = 0;

    /// Reports that `current` of `total` items are done. Called on the worker thread.
    void Report(std::size_t current, std::size_t total);

    /// Returns whether the job must stop. If so, logs the abort. Call the function before each step.
    bool IsAborted() const;

    /// An item of the work: a path, or a name in a scanned directory.
    struct Item
    {
        int directory = -1; ///< -1 for a path.
        QString name;
        QString destination = {}; ///< Only with a path.
        bool isSpecial = false;   ///< A fifo, a socket or a device; merely opening it can affect it.
    };

    FilePlace SourceOf(const Item& item);
    QString SourcePathOf(const Item& item) const; ///< For display.

    /// Receives an entry of a directory. Returns the index of the entry if it is a directory to walk, or -1.
    using Visitor = std::function<int(const ListedEntry& entry, int directory)>;

    /**
     * Walks the tree below the root, depth first and sorted by name, without hidden entries. If a directory
     * does not exist or cannot be read, logs a warning and returns `missingCode`, or continues if that is 0.
     * Does not recurse, so deep trees need no extra stack.
     */
    int WalkTree(int root, int missingCode, const Visitor& visit);

    /// Adds a directory to the list of scanned directories and returns its index.
    int AddDirectory(ScannedDirectory directory);

    const FileTaskTraits& traits;
    const logger::Channel& logChannel; ///< Used by LOG_MESSAGE, here and in the derived classes.
    ScannedDirectories directories;
    DirectoryReach sources{directories, DirectoryReach::Side::Source};
    DirectoryReach destinations{directories, DirectoryReach::Side::Destination};

private:
    Q_DISABLE_COPY(FileTask)

    /// Logs the text and ends the job with this error.
    void Fail(int code, const QString& text);

    std::atomic<qint32> abortFlag = 0;
    /// Cleared by the worker when it no longer uses the task.
    std::atomic<bool> isWorking = false;
    std::unique_ptr<QThread> thread; ///< Null if memory could not be allocated.
};

/// Waits until the job, if there is one, has ended, and clears the pointer. With `force`, the job stops at
/// the next item. The owner still receives the signals reported so far.
void DropTask(QPointer<FileTask>& task, bool force);

/// Emits the reported progress. A slot may destroy the owner, or reenter this function from an event loop.
template<class Owner>
void EmitProgress(const QPointer<Owner>& owner, const std::shared_ptr<TaskProgress>& progress)
{
    progress->Wake();
    bool isNew = false;
    while (owner && progress->Next()) {
        isNew = true;
        Q_EMIT owner->progress(progress->Current(), progress->Total());
    }
    if (isNew && owner) {
        // Emit the progress for which the worker does not wake this thread.
        QTimer::singleShot(TaskProgress::pause, owner, [owner, progress] { EmitProgress(owner, progress); });
    }
}

/// Makes `task` the job of `owner`, which emits the worker's reports.
template<class Owner>
void ConnectTask(FileTask* task, Owner* owner)
{
    task->setParent(owner); // The task follows its owner to other threads.
    const auto emitProgress = [alive = QPointer<Owner>(owner), progress = task->progress] {
        EmitProgress(alive, progress);
    };
    const auto emitEnd = [emitProgress, alive = QPointer<Owner>(owner)](int code, const QString& text) {
        emitProgress();
        if (alive && code == 0) {
            Q_EMIT alive->succesed();
        } else if (alive) {
            Q_EMIT alive->failed(code, text);
        }
    };
    QObject::connect(task, &FileTask::reported, owner, emitProgress, Qt::QueuedConnection);
    QObject::connect(task, &FileTask::ended, owner, emitEnd, Qt::QueuedConnection);
}

/**
 * Ends the owner's job, if there is one, and starts a new one. Of the old job's signals, only those already
 * queued are still emitted.
 *
 * @return false if there is no memory; the owner's `failed` has then been emitted, and a receiver may have
 * destroyed the owner
 */
template<class Task, class Owner, class... Lists>
bool StartTask(QPointer<FileTask>& task, Owner* owner, const FileTaskTraits& traits, const Lists&... lists)
{
    const logger::Channel& logChannel = traits.channel;
    LOG_MESSAGE(logger::Debug) << traits.startText;
    if (task) {
        QObject::disconnect(task, nullptr, owner, nullptr);
        task->progress->Stop();
        // The progress reported so far is still emitted, before the signals of the new job.
        QMetaObject::invokeMethod(
            owner,
            [alive = QPointer<Owner>(owner), progress = task->progress] { EmitProgress(alive, progress); },
            Qt::QueuedConnection);
    }
    DropTask(task, true);
    try {
        task = new Task(lists...);
        ConnectTask(task.data(), owner);
    } catch (const std::bad_alloc&) {
        delete task.data();
        const QString text = QString::fromLatin1(traits.taskMissingText);
        LOG_MESSAGE(logger::Crit) << text;
        Q_EMIT owner->failed(traits.taskMissingCode, text);
        return false;
    }
    task->Start();
    return true;
}

} // namespace common

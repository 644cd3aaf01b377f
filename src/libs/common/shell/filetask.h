#pragma once

#include <common/logger/logger.h>

#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>
#include <memory>
#include <new>

class QThread;

namespace common
{

struct ListedEntry;

/// What tells one kind of file job from another, apart from its work.
struct FileTaskTraits
{
    logger::Channel channel;
    const char* startText;
    int taskMissingCode;         ///< No memory for the task.
    const char* taskMissingText; ///< The text to it.
    int threadMissingCode;       ///< No memory for the thread, or the system has none left.
    int abortedCode;
    const char* failedText;   ///< With the code as %1.
    const char* finishedText; ///< With the milliseconds as %1.
    const char* waitingText;  ///< For Abort on a running job.
};

/**
 * One file job: the skeleton that copying and removing share. It belongs to the thread that made it, and
 * works on a thread of its own, which runs once. When that ends, the task deletes itself through the event
 * loop of its own thread.
 *
 * The abort flag is all that both threads use at once; the work lists in the classes below are the worker's
 * alone from Start on.
 */
class FileTask : public QObject
{
    Q_OBJECT

public:
    /// The destructors of the classes below must call Abort first: the worker may still run what they take
    /// away.
    ~FileTask() override;

public Q_SLOTS:
    /// Waits until the worker has ended; with `force` it is told to stop at the next item.
    void Abort(bool force = true);

Q_SIGNALS:
    void progress(int current, int total);
    void succesed();
    void failed(int errorCode, const QString& errorText);

private Q_SLOTS:
    void run();

protected:
    explicit FileTask(const FileTaskTraits& traits_);

    /// Starts the worker; a task without a thread fails at once.
    void Start();

    /// Turns directories into items. Like all steps on the worker it returns an error code, 0 for success.
    virtual int Scan() = 0;
    /// Does the items one by one and reports progress.
    virtual int WorkAll() = 0;

    /// To be asked before each step; logs that the answer is yes.
    bool IsAborted() const;

    /// Takes an entry and its path relative to the root; true to have the directory walked, too.
    using Visitor = std::function<bool(const ListedEntry& entry, const QString& relativePath)>;

    /**
     * Walks the tree below `root` depth first, in the order that the file system has. Hidden entries are left
     * out. A directory that is not there is a warning and gives `missingCode`, which ends the walk unless it
     * is 0. No call stack is used, so depth costs memory only.
     */
    int WalkTree(const QString& root, int missingCode, const Visitor& visit) const;

    const FileTaskTraits& traits;
    const logger::Channel& logChannel; ///< What LOG_MESSAGE speaks on, here and in the classes below.

private:
    Q_DISABLE_COPY(FileTask)

    std::atomic<qint32> abortFlag = 0;
    std::atomic<bool> workerDone = false; ///< The worker touches nothing of the task any more.
    std::unique_ptr<QThread> thread;      ///< Null if there was no memory for it.
};

/// Makes a task whose signals come out of `owner`, by way of its event loop; null if memory is short.
template<class Task, class Owner, class... Lists>
Task* CreateFileTask(Owner* owner, const Lists&... lists)
{
    try {
        auto task = std::make_unique<Task>(lists...);
        QObject::connect(task.get(), &Task::progress, owner, &Owner::progress, Qt::QueuedConnection);
        QObject::connect(task.get(), &Task::succesed, owner, &Owner::succesed, Qt::QueuedConnection);
        QObject::connect(task.get(), &Task::failed, owner, &Owner::failed, Qt::QueuedConnection);
        return task.release();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

/// Ends the owner's job, if there is one, and lets go of it.
template<class Task>
void DropFileTask(QPointer<Task>& task, bool force)
{
    if (task) {
        task->Abort(force);
        task->deleteLater();
        task.clear();
    }
}

/// DropFileTask for an owner that goes away. The task goes with it: an event loop may never run again.
template<class Task>
void DestroyFileTask(QPointer<Task>& task)
{
    const QPointer<Task> dropped = task;
    DropFileTask(task, true);
    delete dropped.data();
}

/**
 * Ends the owner's job, if there is one, and puts a new one in its place, not yet started. Of the old job
 * only the signals that are on their way already still come out of the owner.
 *
 * @return false if memory is short; the owner's `failed` has then been emitted and may have done anything
 */
template<class Task, class Owner, class... Lists>
bool ReplaceFileTask(QPointer<Task>& task, Owner* owner, const FileTaskTraits& traits, const Lists&... lists)
{
    const logger::Channel& logChannel = traits.channel;
    LOG_MESSAGE(logger::Debug) << traits.startText;
    if (task) {
        QObject::disconnect(task, nullptr, owner, nullptr);
    }
    DropFileTask(task, true);
    task = CreateFileTask<Task>(owner, lists...);
    if (!task) {
        const QString text = QString::fromLatin1(traits.taskMissingText);
        LOG_MESSAGE(logger::Crit) << text;
        Q_EMIT owner->failed(traits.taskMissingCode, text);
        return false;
    }
    return true;
}

} // namespace common

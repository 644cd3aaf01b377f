#pragma once

#include <common/logger/logger.h>

#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>

#include <atomic>
#include <chrono>
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
 * The abort flag and how far the worker has come are all that both threads use at once; the work lists in the
 * classes below are the worker's alone from Start on.
 *
 * The worker reports by numbers and wakes the other thread only if that is not looking by itself already: a
 * wake-up for each item costs as much as the removal of a file. The signals come out on the task's own
 * thread, none left out, at most `lookInterval` late.
 */
class FileTask : public QObject
{
    Q_OBJECT

public:
    /// The destructors of the classes below must call Abort first: the worker may still run what they take
    /// away.
    ~FileTask() override;

    /// Emits the signals for all that the worker has reported by now. Belongs to the task's own thread.
    void EmitReported();

public Q_SLOTS:
    /// Waits until the worker has ended; with `force` it is told to stop at the next item.
    void Abort(bool force = true);

Q_SIGNALS:
    void progress(int current, int total);
    void succesed();
    void failed(int errorCode, const QString& errorText);

private Q_SLOTS:
    void run();
    void OnWorkerFinished();

protected:
    explicit FileTask(const FileTaskTraits& traits_);

    /// Starts the worker; without a thread the job fails.
    void Start();

    /// Turns directories into items. Like all steps on the worker it returns an error code, 0 for success.
    virtual int Scan() = 0;
    /// Does the items one by one and reports each.
    virtual int WorkAll() = 0;
    /// For the worker: `current` of `total` items are done.
    void Report(int current, int total);

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

    static constexpr std::chrono::milliseconds lookInterval{10};

    /// Logs the text and ends the job with it.
    void Fail(int code, const QString& text);
    /// Reports the end, on whichever thread; code 0 is success.
    void End(int code, const QString& text);
    /// Emits, and looks again after a while, until nothing new was reported.
    void LookAtReports();

    std::atomic<qint32> abortFlag = 0;

    // Reported by the worker, read by the task's own thread; `ended` is written last.
    std::atomic<int> reportedItems = 0;
    std::atomic<int> totalItems = 0;
    int endCode = 0;
    QString endText;
    std::atomic<bool> ended = false;

    std::atomic<bool> looking = false; ///< A look at the reports is on its way.
    int emittedItems = 0;
    bool endEmitted = false;

    std::atomic<bool> workerDone = false; ///< The worker touches nothing of the task any more.
    std::unique_ptr<QThread> thread;      ///< Null if there was no memory for it.
};

/// Lets the signals of a task come out of its owner.
template<class Task, class Owner>
void ConnectFileTask(Task* task, Owner* owner, Qt::ConnectionType type)
{
    QObject::connect(task, &Task::progress, owner, &Owner::progress, type);
    QObject::connect(task, &Task::succesed, owner, &Owner::succesed, type);
    QObject::connect(task, &Task::failed, owner, &Owner::failed, type);
}

/// Makes a task for an owner; null if memory is short.
template<class Task, class Owner, class... Lists>
Task* CreateFileTask(Owner* owner, const Lists&... lists)
{
    try {
        auto task = std::make_unique<Task>(lists...);
        ConnectFileTask(task.get(), owner, Qt::AutoConnection);
        return task.release();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

/// From here on the owner's event loop has what the task has reported, and needs the task no more.
template<class Task, class Owner>
void PassReported(Task* task, Owner* owner)
{
    QObject::disconnect(task, nullptr, owner, nullptr);
    ConnectFileTask(task, owner, Qt::QueuedConnection);
    task->EmitReported();
}

/// Ends the owner's job, if there is one, and lets go of it.
template<class Task, class Owner>
void DropFileTask(QPointer<Task>& task, Owner* owner, bool force)
{
    if (task) {
        task->Abort(force);
        PassReported(task.data(), owner);
        task->deleteLater();
        task.clear();
    }
}

/// For an owner that goes away. The task goes with it: an event loop may never run again.
template<class Task>
void DestroyFileTask(const QPointer<Task>& task)
{
    if (task) {
        task->Abort(true);
        delete task.data();
    }
}

/**
 * Ends the owner's job, if there is one, and puts a new one in its place, not yet started. Of the old job
 * only what is reported already still comes out of the owner, by its event loop.
 *
 * @return false if memory is short; the owner's `failed` has then been emitted and may have done anything
 */
template<class Task, class Owner, class... Lists>
bool ReplaceFileTask(QPointer<Task>& task, Owner* owner, const FileTaskTraits& traits, const Lists&... lists)
{
    const logger::Channel& logChannel = traits.channel;
    LOG_MESSAGE(logger::Debug) << traits.startText;
    if (task) {
        PassReported(task.data(), owner);
        QObject::disconnect(task, nullptr, owner, nullptr);
        task->Abort(true);
        task->deleteLater();
    }
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

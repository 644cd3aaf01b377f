#include "filetask.h"

#include "directorylisting.h"
#include "fileentry.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QThread>
#include <QTimer>

#include <vector>

namespace common
{

FileTask::FileTask(const FileTaskTraits& traits_)
    : traits(traits_)
    , logChannel(traits_.channel)
{
    try {
        auto newThread = std::make_unique<QThread>();
        connect(newThread.get(), &QThread::started, this, &FileTask::run, Qt::DirectConnection);
        connect(newThread.get(), &QThread::finished, this, &FileTask::OnWorkerFinished, Qt::QueuedConnection);
        thread = std::move(newThread);
    } catch (const std::bad_alloc&) {
        thread.reset(); // Start will tell.
    }
}

FileTask::~FileTask() = default;

void FileTask::Start()
{
    abortFlag = 0;
    if (!thread) {
        Fail(traits.threadMissingCode, QStringLiteral("Thread variable is NULL!"));
        return;
    }
    thread->start(QThread::InheritPriority);
    if (!thread->isRunning() && !thread->isFinished()) {
        Fail(traits.threadMissingCode, QStringLiteral("The system has no thread left!"));
    }
}

void FileTask::Abort(bool force)
{
    if (force) {
        abortFlag = 1;
    }
    if (thread && thread->isRunning()) {
        LOG_MESSAGE(logger::Debug) << traits.waitingText;
        thread->wait(QDeadlineTimer(QDeadlineTimer::Forever));
        LOG_MESSAGE(logger::Debug) << "Wait finished!";
    }
    // Qt sees to this order already. Looking at it makes it known to race detectors, which cannot see into
    // Qt.
    Q_ASSERT(!thread || !thread->isFinished() || workerDone);
}

void FileTask::run()
{
    QElapsedTimer timer;
    timer.start();

    int code = Scan();
    if (code == 0) {
        code = WorkAll();
    }
    if (code != 0) {
        Fail(code, QString::fromLatin1(traits.failedText).arg(code));
    } else {
        LOG_MESSAGE(logger::Info) << QString::fromLatin1(traits.finishedText).arg(timer.elapsed());
        End(0, QString());
    }
    QThread::currentThread()->quit();
    workerDone = true;
}

/// All is told before the task goes: this may run in an event loop inside a slot of one of its signals.
void FileTask::OnWorkerFinished()
{
    const QPointer<FileTask> self = this;
    EmitReported();
    if (self) {
        deleteLater();
    }
}

void FileTask::Fail(int code, const QString& text)
{
    LOG_MESSAGE(logger::Error) << text;
    End(code, text);
}

void FileTask::End(int code, const QString& text)
{
    endCode = code;
    endText = text;
    ended = true;
    QMetaObject::invokeMethod(this, &FileTask::EmitReported, Qt::QueuedConnection);
}

void FileTask::Report(int current, int total)
{
    totalItems = total;
    reportedItems = current;
    if (!looking.exchange(true)) {
        QMetaObject::invokeMethod(this, &FileTask::LookAtReports, Qt::QueuedConnection);
    }
}

void FileTask::LookAtReports()
{
    if (reportedItems != emittedItems) {
        // Before the signals: a slot may run an event loop of its own.
        QTimer::singleShot(lookInterval, this, &FileTask::LookAtReports);
    } else {
        looking = false;
    }
    // Also if there was nothing new: the worker may have counted on this look until just now.
    EmitReported();
}

void FileTask::EmitReported()
{
    const bool isEnd = ended; // Looked at first: all items were reported before it.
    const int reached = reportedItems;
    const QPointer<FileTask> self = this; // A slot may destroy the owner, or come here by a restart.
    while (self && emittedItems < reached) {
        Q_EMIT progress(++emittedItems, totalItems);
    }
    if (!self || !isEnd || endEmitted) {
        return;
    }
    endEmitted = true;
    if (endCode == 0) {
        Q_EMIT succesed();
    } else {
        const QString text = endText; // A slot that has the task deleted may read on.
        Q_EMIT failed(endCode, text);
    }
}

bool FileTask::IsAborted() const
{
    if (abortFlag == 0) {
        return false;
    }
    LOG_MESSAGE(logger::Debug) << "user abort detected!";
    return true;
}

int FileTask::WalkTree(const QString& root, int missingCode, const Visitor& visit) const
{
    struct Level
    {
        QString relativePath;
        std::vector<ListedEntry> entries;
        std::size_t next = 0;
    };
    const QString start = ResolvedPath(root);
    // One for each directory on the way from the root to where the walk is.
    std::vector<Level> levels;
    const auto enter = [&](const QString& relativePath) {
        const QString path = levels.empty() ? start : QDir::cleanPath(start + u'/' + relativePath);
        const QDir dir(path);
        if (path.isEmpty() || !dir.exists()) {
            LOG_MESSAGE(logger::Warn)
                << QStringLiteral("Path '%1' doesn't exists!").arg(levels.empty() ? root : path);
            return missingCode;
        }
        if (!dir.isReadable()) {
            LOG_MESSAGE(logger::Warn)
                << QStringLiteral("Path '%1' may not be read!").arg(levels.empty() ? root : path);
        }
        levels.push_back({relativePath, ListDirectory(path)});
        return 0;
    };

    int code = enter(QString());
    while (code == 0 && !levels.empty()) {
        Level& level = levels.back();
        if (level.next == level.entries.size()) {
            levels.pop_back();
            continue;
        }
        if (IsAborted()) {
            return traits.abortedCode;
        }
        const ListedEntry& entry = level.entries[level.next++];
        const QString relativePath =
            level.relativePath.isEmpty() ? entry.name : level.relativePath + u'/' + entry.name;
        if (visit(entry, relativePath)) {
            code = enter(relativePath);
        }
    }
    return code;
}

} // namespace common

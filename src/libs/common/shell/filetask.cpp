#include "filetask.h"

#include "directorylisting.h"
#include "fileentry.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QThread>

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
        connect(newThread.get(), &QThread::finished, this, &QObject::deleteLater, Qt::QueuedConnection);
        thread = std::move(newThread);
    } catch (const std::bad_alloc&) {
        thread.reset(); // Start reports it.
    }
}

FileTask::~FileTask() = default;

void FileTask::Start()
{
    abortFlag = 0;
    if (thread) {
        thread->start(QThread::InheritPriority);
    }
    // Qt reports a thread that the system cannot start by its state alone.
    if (!thread || (!thread->isRunning() && !thread->isFinished())) {
        Fail(traits.threadMissingCode, QStringLiteral("Thread variable is NULL!"));
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
        reports->End(0, {});
    }
    QThread::currentThread()->quit();
}

void FileTask::Fail(int code, const QString& text)
{
    LOG_MESSAGE(logger::Error) << text;
    reports->End(code, text);
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

void DropTask(QPointer<FileTask>& task, bool force)
{
    if (task) {
        task->Abort(force);
        task->deleteLater();
        task.clear();
    }
}

} // namespace common

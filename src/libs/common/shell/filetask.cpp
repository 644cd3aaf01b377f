#include "filetask.h"

#include "../platform/freedescriptors.h"
#include "directorylisting.h"
#include "filepath.h"

#include <QDeadlineTimer>
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
    if (thread && platform::HasDescriptors(1)) {
        isWorking = true;
        thread->start(QThread::InheritPriority);
    }
    // QThread reports a failed start only through its state.
    if (!thread || (!thread->isRunning() && !thread->isFinished())) {
        isWorking = false;
        Fail(traits.threadMissingCode, QStringLiteral("Thread variable is NULL!"));
    }
}

void FileTask::Abort(bool force)
{
    if (force) {
        abortFlag = 1;
    }
    const bool hasToWait = isWorking;
    if (hasToWait) {
        LOG_MESSAGE(logger::Debug) << traits.waitingText;
    }
    if (thread) {
        thread->wait(QDeadlineTimer(QDeadlineTimer::Forever));
    }
    if (hasToWait && !isWorking) {
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
    // On Windows, an open directory cannot be removed.
    sources.CloseAll();
    destinations.CloseAll();
    if (code != 0) {
        Fail(code, QString::fromLatin1(traits.failedText).arg(code));
    } else {
        LOG_MESSAGE(logger::Info) << QString::fromLatin1(traits.finishedText).arg(timer.elapsed());
        Q_EMIT ended(0, {});
    }
    QThread::currentThread()->quit();
    isWorking = false;
}

void FileTask::Fail(int code, const QString& text)
{
    LOG_MESSAGE(logger::Error) << text;
    Q_EMIT ended(code, text);
}

void FileTask::Report(std::size_t current, std::size_t total)
{
    if (progress->Report(static_cast<int>(current), static_cast<int>(total))) {
        Q_EMIT reported();
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

FilePlace FileTask::SourceOf(const Item& item)
{
    return item.directory < 0 ? FilePlace{nullptr, SearchedPath(item.name)}
                              : FilePlace{&sources.To(item.directory), item.name};
}

QString FileTask::SourcePathOf(const Item& item) const
{
    return item.directory < 0 ? item.name : sources.PathOf(item.directory, item.name);
}

int FileTask::AddDirectory(ScannedDirectory directory)
{
    directories.push_back(std::move(directory));
    return static_cast<int>(directories.size()) - 1;
}

int FileTask::WalkTree(int root, int missingCode, const Visitor& visit)
{
    struct Level
    {
        int directory;
        std::vector<ListedEntry> entries;
        std::size_t next = 0;
    };
    // One level per directory from the root to the current position.
    std::vector<Level> levels;
    const auto enter = [&](int directory) {
        const OpenDirectory& opened = sources.To(directory);
        auto entries = opened.IsOpen() ? ListDirectory(opened) : std::nullopt;
        if (!entries) {
            const QString text = opened.IsMissing() ? QStringLiteral("Path '%1' doesn't exists!")
                                                    : QStringLiteral("Path '%1' cannot be read!");
            LOG_MESSAGE(logger::Warn) << text.arg(sources.PathOf(directory));
            return missingCode;
        }
        directories[static_cast<std::size_t>(directory)].id = opened.Id();
        levels.push_back({directory, std::move(*entries)});
        return 0;
    };

    int code = enter(root);
    while (code == 0 && !levels.empty()) {
        Level& level = levels.back();
        if (level.next == level.entries.size()) {
            levels.pop_back();
            continue;
        }
        if (IsAborted()) {
            return traits.abortedCode;
        }
        const int child = visit(level.entries[level.next++], level.directory);
        if (child >= 0) {
            code = enter(child);
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

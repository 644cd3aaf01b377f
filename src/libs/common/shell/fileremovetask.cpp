#include "fileremovetask.h"

#include <common/shell/fileremover.h>

#include "directorylisting.h"
#include "retry.h"

#include <algorithm>

namespace common
{

namespace
{

/// Removes an entry, unless its directory cannot be reached.
Removal Remove(const FilePlace& place, Removal (*remove)(const FilePlace&))
{
    if (place.directory == nullptr || place.directory->IsOpen()) {
        return remove(place);
    }
    return place.directory->IsMissing() ? Removal::Missing : Removal::Failed;
}

} // namespace

const FileTaskTraits FileRemoveTask::removeTraits{
    {"shell.fileremove"},
    "Remove",
    FileRemover::NoTask,
    "Failed to create remove task!",
    FileRemover::NoThread,
    FileRemover::Aborted,
    "Removing failed with error '%1'!",
    "Removing finished in %1 msec.",
    "Waiting for the completion of the remover thread...",
};

FileRemoveTask::FileRemoveTask(const QStringList& files_, const QStringList& directories_)
    : FileTask(removeTraits)
    , givenFiles(files_)
    , givenDirectories(directories_)
{}

FileRemoveTask::~FileRemoveTask()
{
    Abort(true);
}

int FileRemoveTask::Scan()
{
    LOG_MESSAGE(logger::Debug) << "Start scanning directories...";
    for (const QString& path : givenFiles) {
        files.push_back({-1, path});
    }
    std::vector<int> roots;
    for (const QString& path : givenDirectories) {
        if (IsAborted()) {
            return FileRemover::Aborted;
        }
        roots.push_back(AddDirectory({-1, path}));
        const int code = ScanPath(roots.back());
        if (code != 0) {
            LOG_MESSAGE(logger::Error) << QStringLiteral("Scanning directory '%1' failed with error '%2'!")
                                              .arg(path, QString::number(code));
            return code;
        }
    }
    // The scan found parents first. Reverse the list so that children come first, then append the roots.
    std::reverse(removals.begin(), removals.end());
    removals.insert(removals.end(), roots.begin(), roots.end());
    LOG_MESSAGE(logger::Debug) << "Directories scanning finished.";
    return 0;
}

int FileRemoveTask::ScanPath(int root)
{
    const auto visit = [&](const ListedEntry& entry, int directory) {
        if (!entry.isDirectory || entry.isLink) {
            files.push_back({directory, entry.name});
            return -1;
        }
        LOG_MESSAGE(logger::Debug) << "Found directory: '" << sources.RelativePathOf(directory, entry.name)
                                   << "'.";
        removals.push_back(AddDirectory({directory, entry.name}));
        return removals.back();
    };
    // A missing directory needs no removal. For one that cannot be read, the later removal fails.
    return WalkTree(root, 0, visit);
}

int FileRemoveTask::WorkAll()
{
    const std::size_t total = files.size() + removals.size();
    std::size_t current = 0;
    for (const Item& file : files) {
        if (IsAborted()) {
            return FileRemover::Aborted;
        }
        const int code = RemoveFile(file);
        if (code != 0) {
            LOG_MESSAGE(logger::Error) << QStringLiteral("Removing file '%1' failed with error '%2'!")
                                              .arg(SourcePathOf(file), QString::number(code));
            return code;
        }
        Report(++current, total);
    }
    for (const int directory : removals) {
        if (IsAborted()) {
            return FileRemover::Aborted;
        }
        const int code = RemoveDirectory(directory);
        if (code != 0) {
            LOG_MESSAGE(logger::Error) << QStringLiteral("Removing directory '%1' failed with error '%2'!")
                                              .arg(sources.PathOf(directory), QString::number(code));
            return code;
        }
        Report(++current, total);
    }
    return 0;
}

int FileRemoveTask::RemoveFile(const Item& item)
{
    const QString path = SourcePathOf(item);
    Removal result = Removal::Failed;
    const auto remove = [&] {
        result = Remove(SourceOf(item), RemoveFileOrLink);
        return result != Removal::Failed;
    };
    if (!Retry(remove, [&] { return QStringLiteral("Failed to remove file '%1'").arg(path); })) {
        LOG_MESSAGE(logger::Error) << QStringLiteral("Cannot remove file '%1'!").arg(path);
        return FileRemover::FileNotRemoved;
    }
    if (result == Removal::Missing) {
        LOG_MESSAGE(logger::Warn) << QStringLiteral("File '%1' doesn't exist!").arg(path);
    } else {
        LOG_MESSAGE(logger::Debug) << QStringLiteral("Successfully removed file '%1'").arg(path);
    }
    return 0;
}

int FileRemoveTask::RemoveDirectory(int directory)
{
    const ScannedDirectory& scanned = directories[static_cast<std::size_t>(directory)];
    const QString path = sources.PathOf(directory);
    Removal result = Removal::Failed;
    const auto remove = [&] {
        const FilePlace place = SourceOf({scanned.parent, scanned.name});
        sources.Close(directory); // On Windows, an open directory cannot be removed.
        result = Remove(place, RemoveEmptyDirectory);
        return result != Removal::Failed;
    };
    if (!Retry(remove, [&] { return QStringLiteral("Failed to remove directory '%1'").arg(path); })) {
        LOG_MESSAGE(logger::Error) << QStringLiteral("Cannot remove directory '%1'!").arg(path);
        return FileRemover::DirectoryNotRemoved;
    }
    if (result == Removal::Missing) {
        LOG_MESSAGE(logger::Warn) << QStringLiteral("Directory '%1' doesn't exist!").arg(path);
    } else {
        LOG_MESSAGE(logger::Debug) << QStringLiteral("Successfully removed directory '%1'").arg(path);
    }
    return 0;
}

} // namespace common

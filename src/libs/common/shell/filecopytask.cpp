#include "filecopytask.h"

#include <common/shell/filecopier.h>

#include "directorylisting.h"
#include "filepath.h"
#include "retry.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>

namespace common
{

struct FileCopyTask::Paths
{
    QString source;
    QString destination;
};

const FileTaskTraits FileCopyTask::copyTraits{
    {"shell.filecopy"},
    "Copy",
    FileCopier::NoTask,
    "Failed to create copy task!",
    FileCopier::NoThread,
    FileCopier::Aborted,
    "Copying failed with error '%1'!",
    "Copying finished in %1 msec.",
    "Waiting for the completion of the copier thread...",
};

FileCopyTask::FileCopyTask(const QList<PathPair>& files_, const QList<PathPair>& symlinks_,
                           const QList<PathPair>& directories_)
    : FileTask(copyTraits)
    , givenFiles(files_)
    , givenSymlinks(symlinks_)
    , givenDirectories(directories_)
{}

FileCopyTask::~FileCopyTask()
{
    Abort(true);
}

int FileCopyTask::Scan()
{
    LOG_MESSAGE(logger::Debug) << "Start scanning directories...";
    for (const auto& [source, destination] : givenFiles) {
        files.push_back({-1, source, destination});
    }
    for (const auto& [source, destination] : givenSymlinks) {
        symlinks.push_back({-1, source, destination});
    }
    for (const auto& [sourceRoot, destinationRoot] : givenDirectories) {
        if (IsAborted()) {
            return FileCopier::Aborted;
        }
        const int code = ScanPath(sourceRoot, destinationRoot);
        if (code != 0) {
            LOG_MESSAGE(logger::Error) << QStringLiteral("Scanning directory '%1' failed with error '%2'!")
                                              .arg(sourceRoot, QString::number(code));
            return code;
        }
    }
    LOG_MESSAGE(logger::Debug) << "Directories scanning finished.";
    return 0;
}

int FileCopyTask::ScanPath(const QString& sourceRoot, const QString& destinationRoot)
{
    const auto visit = [&](const ListedEntry& entry, int directory) {
        if (entry.isDirectory && !entry.isLink) {
            return AddDirectory({directory, entry.name});
        }
        if (entry.isLink) {
            LOG_MESSAGE(logger::Debug)
                << "Found symlink: '" << sources.RelativePathOf(directory, entry.name) << "'.";
        }
        (entry.isLink ? symlinks : files).push_back({directory, entry.name, {}, entry.isSpecial});
        return -1;
    };
    return WalkTree(AddDirectory({-1, sourceRoot, destinationRoot}), FileCopier::NoSourceDirectory, visit);
}

int FileCopyTask::WorkAll()
{
    // Kept for compatibility: a pair added both as a file and as a link is handled as a file both times.
    QHash<PathPair, std::size_t> fileOf;
    for (std::size_t i = 0; i < files.size() && !symlinks.empty(); ++i) {
        const Paths paths = PathsOf(files[i]);
        fileOf.insert({paths.source, paths.destination}, i);
    }

    const std::size_t total = files.size() + symlinks.size();
    for (std::size_t i = 0; i < total; ++i) {
        if (IsAborted()) {
            return FileCopier::Aborted;
        }
        const Item& item = i < files.size() ? files[i] : symlinks[i - files.size()];
        const Paths paths = PathsOf(item);
        const std::size_t file =
            i < files.size() ? i : fileOf.value({paths.source, paths.destination}, total);
        const int code = file < total ? CopyFile(files[file], paths) : CopySymlink(item, paths);
        if (code != 0) {
            LOG_MESSAGE(logger::Error) << QStringLiteral("Copying from '%1' to '%2' failed with error '%3'!")
                                              .arg(paths.source, paths.destination, QString::number(code));
            return code;
        }
        Report(i + 1, total);
    }
    return 0;
}

int FileCopyTask::CopyFile(const Item& item, const Paths& paths)
{
    const auto& [source, destination] = paths;
    // Fast path: if nothing is in the way, skip the checks below. They take as long as the copy itself.
    const bool isReady = !item.isSpecial && (item.directory < 0 || destinations.Has(item.directory));
    const CopyResult result =
        isReady ? CopyQuickly(SourceOf(item), DestinationOf(item)) : CopyResult::NotForMe;
    bool copied = result == CopyResult::Copied;
    if (!copied && !IsSpecial(SourceOf(item).Path())) {
        bool isInTheWay = false;
        int code = BeforeCopy(item, paths, isInTheWay);
        if (code == 0) {
            code = CopyInAttempts(item, paths, result, isInTheWay, copied);
        }
        if (code != 0) {
            return code;
        }
    }
    if (!copied) {
        LOG_MESSAGE(logger::Error)
            << QStringLiteral("Cannot copy from '%1' to '%2'").arg(source, destination);
        return FileCopier::CopyFailed;
    }
    LOG_MESSAGE(logger::Debug)
        << QStringLiteral("Successfully copied from '%1' to '%2'").arg(source, destination);
    return 0;
}

/// Where unnamed files are supported, replaces an existing destination only when the copy is complete, so
/// that a full disk causes no data loss.
int FileCopyTask::CopyInAttempts(const Item& item, const Paths& paths, CopyResult result, bool isInTheWay,
                                 bool& copied)
{
    bool isRefused = false;
    const auto makeRoom = [&] {
        isRefused = !RemoveDestination(item, paths);
        isInTheWay = isRefused;
        return !isRefused;
    };
    const auto attempt = [&] {
        // The fast path, if taken, counts as the first attempt.
        if (std::exchange(result, CopyResult::NotForMe) == CopyResult::NotForMe) {
            copied = Copy(item, isInTheWay ? makeRoom : std::function<bool()>());
        }
        return copied || isRefused;
    };
    Retry(attempt, [&] {
        return QStringLiteral("Failed to copy file '%1' to '%2'").arg(paths.source, paths.destination);
    });
    return isRefused ? FileCopier::DestinationNotRemoved : 0;
}

bool FileCopyTask::Copy(const Item& item, const std::function<bool()>& makeRoom)
{
    const FilePlace source = SourceOf(item);
    const FilePlace destination = DestinationOf(item);
    CopyResult result = CopyQuickly(source, destination, makeRoom);
    if (result == CopyResult::NotForMe && makeRoom) {
        // Keep the destination if the source is a directory or has vanished.
        const QFileInfo info(source.Path());
        if ((!info.isFile() && !info.isShortcut()) || !makeRoom()) {
            return false;
        }
        result = CopyQuickly(source, destination);
    }
    if (result == CopyResult::NotForMe && !source.IsHeld()) {
        return QFile::copy(source.Path(), destination.Path()); // The source may be a Qt resource.
    }
    return result == CopyResult::Copied;
}

int FileCopyTask::CopySymlink(const Item& item, const Paths& paths)
{
    const auto& [source, destination] = paths;
    bool isInTheWay = false;
    const int code = BeforeCopy(item, paths, isInTheWay);
    if (code != 0) {
        return code;
    }
    const QString target = LinkTarget(item, source);
    if (isInTheWay && !target.isEmpty() && !RemoveDestination(item, paths)) {
        return FileCopier::DestinationNotRemoved;
    }
    const auto link = [&] { return !target.isEmpty() && QFile::link(target, DestinationOf(item).Path()); };
    if (!Retry(link, [&] {
            return QStringLiteral("Failed to create link '%1' --> '%2'").arg(paths.destination, target);
        })) {
        LOG_MESSAGE(logger::Error)
            << QStringLiteral("Cannot copy link from '%1' to '%2' -> '%3'.").arg(source, destination, target);
        return FileCopier::CopyFailed;
    }
    LOG_MESSAGE(logger::Debug) << QStringLiteral("Successfully copied link from '%1' to '%2' -> '%3'.")
                                      .arg(source, destination, target);
    return 0;
}

/// Returns the target of the copied link; empty if the source is not a link. Qt reports the wrong target for
/// a link to a directory if the path of the link is relative or contains "link/..".
QString FileCopyTask::LinkTarget(const Item& item, const QString& source)
{
    const QFileInfo info(source);
    const QString folder = ResolvedPath(info.path());
    const FilePlace place = SourceOf(item);
    const QString reached = place.directory != nullptr ? place.directory->Path() : folder;
    QString target = ReadLink(reached + u'/' + info.fileName());
    if (target.startsWith(reached + u'/')) {
        target.replace(0, reached.size(), folder);
    }
    return QDir(folder).relativeFilePath(QDir::cleanPath(target));
}

/// @param isInTheWay set to true if an existing entry must be removed from the destination
int FileCopyTask::BeforeCopy(const Item& item, const Paths& paths, bool& isInTheWay)
{
    const auto& [source, destination] = paths;
    // A dangling link can still be copied as a link.
    if (!IsThere(QFileInfo(SourceOf(item).Path()))) {
        LOG_MESSAGE(logger::Error) << QStringLiteral("Source file '%1' doesn't exist!").arg(source);
        return FileCopier::NoSource;
    }
    if (!MakeFolder(item, destination)) {
        LOG_MESSAGE(logger::Error) << QStringLiteral("Cannot create path to '%1'").arg(destination);
        return FileCopier::NoDestinationDirectory;
    }
    const FilePlace place = DestinationOf(item);
    const QFileInfo info(place.Path());
    if (!IsThere(info)) {
        return 0;
    }
    isInTheWay = IsLink(info) || !info.isDir();
    if (isInTheWay && LeadsTo(SourceOf(item).Path(), place.Path())) {
        // Source and destination lead to the same file, so removing the destination would lose the source.
        LOG_MESSAGE(logger::Error)
            << QStringLiteral("'%1' and '%2' are the same file").arg(source, destination);
        return FileCopier::CopyFailed;
    }
    LOG_MESSAGE(logger::Warn)
        << QStringLiteral("'%1' already exists. Trying to remove before coping...").arg(destination);
    // RemoveDestination fails for a directory.
    return isInTheWay || RemoveDestination(item, paths) ? 0 : FileCopier::DestinationNotRemoved;
}

bool FileCopyTask::MakeFolder(const Item& item, const QString& destination)
{
    const QString folder = item.directory < 0 ? ResolvedPath(QFileInfo(SearchedPath(destination)).path())
                                              : destinations.PathOf(item.directory);
    // Reopen the directory, in case it was removed in the meantime.
    destinations.Close(item.directory);
    const auto make = [&] {
        if (item.directory < 0) {
            return !folder.isEmpty() && (QDir(folder).exists() || QDir().mkpath(folder));
        }
        if (!destinations.To(item.directory).IsOpen()) {
            destinations.CloseAll(); // Parent directories were removed, too.
        }
        return destinations.To(item.directory).IsOpen();
    };
    return Retry(make, [&] { return QStringLiteral("Failed to create directory '%1'").arg(folder); });
}

bool FileCopyTask::RemoveDestination(const Item& item, const Paths& paths)
{
    const auto remove = [&] { return RemoveFileOrLink(DestinationOf(item)) != Removal::Failed; };
    if (!Retry(remove, [&] { return QStringLiteral("Failed to remove file '%1'").arg(paths.destination); })) {
        LOG_MESSAGE(logger::Error) << QStringLiteral("Cannot remove '%1'!").arg(paths.destination);
        return false;
    }
    return true;
}

FileCopyTask::Paths FileCopyTask::PathsOf(const Item& item) const
{
    return {SourcePathOf(item),
            item.directory < 0 ? item.destination : destinations.PathOf(item.directory, item.name)};
}

FilePlace FileCopyTask::DestinationOf(const Item& item)
{
    return item.directory < 0 ? FilePlace{nullptr, SearchedPath(item.destination)}
                              : FilePlace{&destinations.To(item.directory), item.name};
}

} // namespace common

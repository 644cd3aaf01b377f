#include <common/shell/shell.h>

#include <common/logger/logger.h>

#include "copyonce.h"
#include "directorylisting.h"
#include "directoryreach.h"
#include "fileid.h"
#include "filepath.h"
#include "shellservices.h"
#include "treeremoval.h"

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStringBuilder>

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace common
{

namespace
{

constexpr logger::Channel logChannel{"common.shell"};

/// Returns the canonical path that `path` has or, if nothing exists there yet, will have.
QString CanonicalPlace(const QString& path)
{
    const QFileInfo info(ResolvedPath(path));
    if (info.exists()) {
        return info.canonicalFilePath();
    }
    if (info.path() == info.filePath()) {
        return info.path(); // The drive does not exist.
    }
    return QDir(CanonicalPlace(info.path())).filePath(info.fileName());
}

/// Returns whether a directory at `path`, which need not exist yet, is `folder` itself or below it.
bool IsWithin(const QString& path, const QString& folder)
{
    const std::optional<FileId> id = GetTargetId(folder);
    QString place = CanonicalPlace(path);
    QString child;
    while (place != child) {
        if (id && GetTargetId(place) == id) {
            return true;
        }
        child = std::exchange(place, QFileInfo(place).path());
    }
    return false;
}

/// Performs one CopyDir. Does not enter a directory whose copy would never end.
class DirCopier
{
public:
    /// @param willRemove whether the source is removed afterwards; if so, nothing is copied into it
    DirCopier(const QString& source, const QString& destination, bool willRemove)
        : destinationRoot(destination)
        , destinationId(GetTargetId(destination))
        , sparesSource(willRemove)
    {
        directories.push_back({-1, source, destination});
    }

    bool Run(QDir::Filters filters, bool tolerate)
    {
        if (!Open(0, filters)) {
            return false;
        }
        while (!levels.empty()) {
            Level& level = levels.back();
            if (level.next < level.subdirectories.size()) {
                if (!Enter(level.directory, level.subdirectories[level.next++])) {
                    return false;
                }
                continue;
            }
            // Kept for compatibility: failures below the first level are not tolerated.
            if (!CopyFiles(level, tolerate && levels.size() == 1)) {
                return false;
            }
            levels.pop_back();
        }
        return true;
    }

private:
    struct Level
    {
        int directory;
        std::vector<ListedEntry> subdirectories;
        std::vector<ListedEntry> files;
        std::size_t next = 0;
    };

    /// Lists a directory of the source.
    bool Open(int directory, std::optional<QDir::Filters> filters)
    {
        const OpenDirectory& opened = sources.To(directory);
        auto entries = opened.IsOpen() ? ListDirectory(opened) : std::nullopt;
        if (!entries) {
            return false;
        }
        directories[static_cast<std::size_t>(directory)].id = opened.Id();
        Level level{directory, {}, {}};
        const bool isTop = filters.has_value();
        for (ListedEntry& entry : *entries) {
            if (!entry.isDirectory && !entry.isSpecial) {
                level.files.push_back(std::move(entry));
            } else if (entry.isDirectory && !isTop) {
                level.subdirectories.push_back(std::move(entry));
            }
        }
        if (isTop) {
            for (const QFileInfo& info : QDir(opened.Path()).entryInfoList(*filters, QDir::NoSort)) {
                level.subdirectories.push_back({info.fileName(), true, IsLink(info), false});
            }
        }
        levels.push_back(std::move(level));
        return true;
    }

    bool Enter(int parent, const ListedEntry& entry)
    {
        const int directory = static_cast<int>(directories.size());
        directories.push_back({parent, entry.name, {}, entry.isLink});
        const OpenDirectory& source = sources.To(directory);
        return !(source.IsOpen() && IsEndless(source.Id())) && MakeDirectory(directory) &&
               Open(directory, std::nullopt);
    }

    bool IsEndless(const FileId& source) const
    {
        const auto isSource = [&](const Level& level) {
            return directories[static_cast<std::size_t>(level.directory)].id == source;
        };
        // Resources and some network drives have no file ids.
        return source.file != 0 &&
               (destinationId == source || std::any_of(levels.begin(), levels.end(), isSource));
    }

    bool MakeDirectory(int directory)
    {
        const OpenDirectory& made = destinations.To(directory);
        if (!destinationId) {
            destinationId = GetTargetId(destinationRoot); // The destination has just been created.
        }
        return made.IsOpen() && (!sparesSource || !(directories.front().id == made.Id()));
    }

    bool CopyFiles(const Level& level, bool tolerate)
    {
        // Files at the first level do not create a missing destination.
        const bool isMissing = level.directory == 0 && !QFileInfo(ResolvedPath(destinationRoot)).isDir();
        for (const ListedEntry& entry : level.files) {
            const OpenDirectory& from = sources.To(level.directory);
            FilePlace source{&from, entry.name};
            if (entry.isLink) {
                source = {nullptr, source.Path()}; // To be followed.
                if (!QFileInfo(source.name).isFile()) {
                    continue;
                }
            }
            if (isMissing) {
                return tolerate;
            }
            const FilePlace destination{&destinations.To(level.directory), entry.name};
            const CopyResult result = CopyQuickly(source, destination);
            const bool copied = result == CopyResult::NotForMe && !source.IsHeld()
                                    ? QFile::copy(source.Path(), destination.Path())
                                    : result == CopyResult::Copied;
            if (!copied && !tolerate) {
                return false;
            }
        }
        return true;
    }

    const QString destinationRoot;
    std::optional<FileId> destinationId;
    const bool sparesSource;
    ScannedDirectories directories;
    DirectoryReach sources{directories, DirectoryReach::Side::Source};
    DirectoryReach destinations{directories, DirectoryReach::Side::Destination};
    std::vector<Level> levels; ///< Stack of the source directories that are being copied.
};

/// Performs one ScanFiles.
class FileScanner
{
public:
    explicit FileScanner(const QStringList& nameFilters)
    {
        for (const QString& filter : nameFilters) {
            patterns.push_back(QRegularExpression::fromWildcard(filter, Qt::CaseInsensitive));
        }
    }

    void Run(const QString& absolutePath, const QString& canonicalPath)
    {
        const QString prefix = absolutePath.endsWith(u'/') ? absolutePath : absolutePath + u'/';
        open.append(canonicalPath);
        const auto entries = ListDirectory(OpenDirectory::Open(absolutePath, OpenDirectory::Access::List));
        for (const ListedEntry& entry : entries.value_or(std::vector<ListedEntry>())) {
            if (!Matches(entry.name)) {
                continue;
            }
            const QString path = prefix % entry.name;
            if (!entry.isDirectory) {
                found.append(path);
                continue;
            }
            const QString canonicalEntry = entry.isLink ? QFileInfo(path).canonicalFilePath()
                                                        : QDir::cleanPath(canonicalPath + u'/' + entry.name);
            if (!entry.isLink || !open.contains(canonicalEntry)) {
                Run(path, canonicalEntry);
            }
        }
        open.removeLast();
    }

    QStringList found;

private:
    bool Matches(const QString& name) const
    {
        const auto matches = [&name](const QRegularExpression& pattern) {
            return pattern.match(name).hasMatch();
        };
        return patterns.empty() || std::any_of(patterns.begin(), patterns.end(), matches);
    }

    std::vector<QRegularExpression> patterns;
    QStringList open; ///< Canonical paths of the directories that are being scanned.
};

/// Returns whether `folder` contains an entry that cannot be copied: a pipe, a device or a dangling link.
bool HasSpecialEntry(const QString& folder)
{
    QDirIterator entries(folder, QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QFileInfo entry(entries.next());
        if (!entry.isFile() && !entry.isDir()) {
            return true;
        }
    }
    return false;
}

/// Returns the drive of a path; empty if it has none, like a relative path on Windows.
QString DriveOf(const QString& path)
{
    const qsizetype colon = path.indexOf(u':');
    return colon < 0 ? QString() : path.left(colon).trimmed();
}

} // namespace

bool Shell::Copy(const QString& source, const QString& destination, bool overwrite)
{
    QDir directory{QString()};
    // Do not remove the file if it would be copied onto itself.
    const bool isItself = LeadsTo(SearchedPath(source), SearchedPath(destination));
    if (overwrite && !isItself && directory.exists(destination) && !directory.remove(destination)) {
        LOG_MESSAGE(logger::Error) << "Failed to remove file '" << destination << "'.";
    }
    const QString parent = ResolvedPath(QFileInfo(destination).path());
    if (!directory.mkpath(parent)) {
        LOG_MESSAGE(logger::Error) << "Failed to create path '" << parent << "'.";
    }
    QFile file(source);
    if (isItself || IsSpecial(source) || !CopyOnce(file, destination)) {
        LOG_MESSAGE(logger::Error) << "Copy file '" << source << "' to '" << destination << "' failed!";
        return false;
    }
    return true;
}

bool Shell::Copy(const QStringList& files, const QString& sourceDirectory,
                 const QString& destinationDirectory, bool overwrite)
{
    const QDir directory(sourceDirectory);
    for (const QString& file : files) {
        const QString relative = directory.relativeFilePath(file);
        if (!Copy(QDir::toNativeSeparators(JoinPath(sourceDirectory, relative)),
                  QDir::toNativeSeparators(JoinPath(destinationDirectory, relative)), overwrite)) {
            return false;
        }
    }
    return true;
}

bool Shell::CopyDir(const QString& source, const QString& destination, QDir::Filters filters, bool tolerate)
{
    // To Qt, an empty path means the current directory.
    return !source.isEmpty() && !destination.isEmpty() &&
           DirCopier(source, destination, false).Run(filters, tolerate);
}

bool Shell::MoveDir(const QString& source, const QString& destination)
{
    const QString sourceDrive = DriveOf(source);
    const QString destinationDrive = DriveOf(destination);
    if (sourceDrive.isEmpty() || destinationDrive.isEmpty()) {
        LOG_MESSAGE(logger::Error) << "MoveDir: source or destination dir is not absolute path: " << source
                                   << " " << destination;
        return QDir(QString()).rename(source, destination);
    }
    // Kept for compatibility: drives that differ only in case count as two.
    if (sourceDrive == destinationDrive) {
        return QDir(QString()).rename(source, destination);
    }
    // Otherwise, removing the source would also remove the copy inside it, or entries that were not copied.
    if (IsWithin(destination, source) || HasSpecialEntry(source) ||
        !DirCopier(source, destination, true).Run(QDir::Dirs | QDir::NoDotAndDotDot, false)) {
        LOG_MESSAGE(logger::Error) << "MoveDir: failed to copy dir: " << source << " -> " << destination;
        return false;
    }
    if (!RemoveTree(source)) {
        LOG_MESSAGE(logger::Warn) << "MoveDir: failed to delete source dir: " << source;
    }
    return true;
}

QStringList Shell::ScanFiles(const QString& path, const QStringList& nameFilters)
{
    const QDir directory(path);
    FileScanner scanner(nameFilters);
    scanner.Run(ResolvedPath(directory.path()), directory.canonicalPath());
    return scanner.found;
}

bool Shell::ShowFile(const QString& path)
{
    if (const std::optional<bool> shown = shellservices::SelectInFileManager(path)) {
        return *shown;
    }
    QString command;
    if (!shellservices::StartFileManager(path, command)) {
        LOG_MESSAGE(logger::Error) << "Shell::ShowFile() - unable to start '" << command << "'";
        return false;
    }
    return true;
}

bool Shell::CreateShortcut(const QString& target, const QString& workingDirectory, const QString& arguments,
                           const QString& shortcutPath, const QString& description,
                           const QString& applicationId)
{
    return shellservices::SaveShortcut({target, workingDirectory, arguments, description, applicationId},
                                       shortcutPath);
}

bool Shell::RemoveAfterExit(const QString& path)
{
    QDir directory(path);
    if (!directory.exists()) {
        return true;
    }
    directory.cdUp();
    const QString workingDirectory = QDir::toNativeSeparators(directory.absolutePath());
    QString command;
    const unsigned long error = shellservices::StartRemoval(path, workingDirectory, command);
    if (error != 0) {
        LOG_MESSAGE(logger::Error) << "RemoveAfterExit() - CreateProcessW(" << command << ", "
                                   << workingDirectory << ") failed with error '" << error << "'!";
        return false;
    }
    LOG_MESSAGE(logger::Debug) << "RemoveAfterExit() - CreateProcessW(" << command << ", " << workingDirectory
                               << ") successfully started!";
    return true;
}

} // namespace common

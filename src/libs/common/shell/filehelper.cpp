#include <common/shell/filehelper.h>

#include "directoryreach.h"
#include "filepath.h"

#include <QDir>

#include <vector>

namespace common
{

namespace
{

/// A directory on the path from the root to the current position of the scan.
struct Level
{
    int directory;
    QString path;
    QFileInfoList entries;
};

struct Found
{
    QFileInfo info;
    int directory; ///< Index of the entry's directory; -1 for a path added by the caller.
    int itself;    ///< Index of the entry if it is a scanned directory, otherwise -1.
};

} // namespace

struct FileHelper::Private
{
    bool Remove(const Found& entry)
    {
        const bool isPath = entry.directory < 0;
        reach.Close(entry.itself); // On Windows, an open directory cannot be removed.
        const FilePlace place{isPath ? nullptr : &reach.To(entry.directory),
                              isPath ? entry.info.filePath() : entry.info.fileName()};
        const bool isDirectory = !entry.info.isSymLink() && entry.info.isDir();
        return (isDirectory ? RemoveEmptyDirectory(place) : RemoveFileOrLink(place)) == Removal::Done;
    }

    ScannedDirectories directories;
    DirectoryReach reach{directories, DirectoryReach::Side::Source};
    QList<Found> found;
};

FileHelper::FileHelper()
    : d(std::make_unique<Private>())
{}

FileHelper::FileHelper(const QString& dir)
    : FileHelper()
{
    dirs.append(dir);
}

FileHelper::~FileHelper() = default;

void FileHelper::AppendDir(const QString& dir)
{
    dirs.append(dir);
}

void FileHelper::AppendFiles(const QStringList& added)
{
    files.append(added);
}

const QStringList& FileHelper::NameFilters() const
{
    return nameFilters;
}

void FileHelper::SetNameFilters(const QStringList& filters)
{
    nameFilters = filters;
}

bool FileHelper::Copy(const QString& /*destination*/)
{
    Scan();
    return false;
}

bool FileHelper::Remove()
{
    Scan();
    // Copy the list, because a receiver of the signals may scan again.
    const QList<Found> entries = d->found;
    const auto total = static_cast<quint64>(entries.size());
    quint64 current = 0;
    bool allRemoved = true;
    for (const Found& entry : entries) {
        const QString path = entry.info.absoluteFilePath();
        Q_EMIT progress(path, ++current, total);
        if (!d->Remove(entry)) {
            Q_EMIT failed(path);
            allRemoved = false;
        }
    }
    d->reach.CloseAll();
    return allRemoved;
}

void FileHelper::Scan()
{
    const QStringList scannedDirs = dirs;
    for (const QString& dir : scannedDirs) {
        ScanPath(dir);
    }
    const QStringList scannedFiles = files;
    for (const QString& file : scannedFiles) {
        // Skip "file/": no such entry exists, although Qt resolves the path.
        if (!file.isEmpty() && QFileInfo::exists(file)) {
            AddFound(QFileInfo(ResolvedPath(file)), file, -1, -1);
        }
    }
}

void FileHelper::ScanPath(const QString& root)
{
    // No QDir::AllDirs: the name filters apply to directories, too.
    constexpr QDir::Filters filters = QDir::Dirs | QDir::Files | QDir::NoDotAndDotDot;
    std::vector<Level> levels;
    const auto enter = [&](int parent, const QString& name, const QString& path) {
        d->directories.push_back({parent, name});
        const int directory = static_cast<int>(d->directories.size()) - 1;
        const OpenDirectory& opened = d->reach.To(directory);
        if (opened.IsOpen()) {
            d->directories.back().id = opened.Id();
            const QDir dir(opened.Path());
            levels.push_back({directory, path, dir.entryInfoList(nameFilters, filters, QDir::NoSort)});
        } else if (QFileInfo(path).isDir()) {
            AddFound(QFileInfo(path), path, parent, -1); // Unreadable, but it may be empty.
        }
    };

    // Keep a trailing slash in the absolute path.
    const bool endsInSlash = QDir::fromNativeSeparators(root).endsWith(u'/');
    enter(-1, root, ResolvedPath(root) + (endsInSlash ? QStringLiteral("/") : QString()));
    while (!levels.empty()) {
        Level& level = levels.back();
        if (level.entries.isEmpty()) {
            const QFileInfo dir(level.path);
            const int itself = level.directory;
            levels.pop_back();
            AddFound(dir, dir.absoluteFilePath(), d->directories[static_cast<std::size_t>(itself)].parent,
                     itself);
            continue;
        }
        const QFileInfo entry = level.entries.takeFirst();
        const QString path = QDir(level.path).filePath(entry.fileName());
        const int directory = level.directory;
        if (entry.isDir() && !IsLink(entry)) {
            enter(directory, entry.fileName(), path);
        } else {
            AddFound(QFileInfo(path), path, directory, -1);
        }
    }
    d->reach.CloseAll();
}

void FileHelper::AddFound(const QFileInfo& entry, const QString& reportedPath, int directory, int itself)
{
    d->found.append({entry, directory, itself});
    Q_EMIT scan(reportedPath, static_cast<quint64>(d->found.size()));
}

} // namespace common

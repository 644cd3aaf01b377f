#include <common/shell/filehelper.h>

#include "fileentry.h"

#include <QDir>

#include <vector>

namespace common
{

namespace
{

/// A directory on the way from the root to where the scan is.
struct Level
{
    QString path;
    QFileInfoList entries;
};

bool RemoveEntry(const QFileInfo& entry)
{
    QDir dir{QString()};
    const QString path = entry.absoluteFilePath();
    return !entry.isSymLink() && entry.isDir() ? dir.rmdir(path) : dir.remove(path);
}

} // namespace

FileHelper::FileHelper() = default;

FileHelper::FileHelper(const QString& dir)
    : dirs{dir}
{}

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
    // A receiver of the signals may scan again.
    const QList<QFileInfo> entries = found;
    const auto total = static_cast<quint64>(entries.size());
    quint64 current = 0;
    bool allRemoved = true;
    for (const QFileInfo& entry : entries) {
        const QString path = entry.absoluteFilePath();
        Q_EMIT progress(path, ++current, total);
        if (!RemoveEntry(entry)) {
            Q_EMIT failed(path);
            allRemoved = false;
        }
    }
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
        // "file/" names nothing, although it can be resolved.
        if (!file.isEmpty() && QFileInfo::exists(file)) {
            AddFound(QFileInfo(ResolvedPath(file)), file);
        }
    }
}

void FileHelper::ScanPath(const QString& root)
{
    if (root.isEmpty()) {
        return;
    }
    // No QDir::AllDirs: the name filters hold for directories, too.
    constexpr QDir::Filters filters = QDir::Dirs | QDir::Files | QDir::NoDotAndDotDot;
    std::vector<Level> levels;
    const auto enter = [&](const QString& path) {
        const QDir dir(path);
        if (dir.exists()) {
            levels.push_back({path, dir.entryInfoList(nameFilters, filters, QDir::NoSort)});
        }
    };

    // An absolute file path keeps a slash at the end.
    const bool endsInSlash = QDir::fromNativeSeparators(root).endsWith(u'/');
    enter(ResolvedPath(root) + (endsInSlash ? QStringLiteral("/") : QString()));
    while (!levels.empty()) {
        Level& level = levels.back();
        if (level.entries.isEmpty()) {
            const QFileInfo dir(level.path);
            levels.pop_back();
            AddFound(dir, dir.absoluteFilePath());
            continue;
        }
        const QFileInfo entry = level.entries.takeFirst();
        if (entry.isDir() && !IsLink(entry)) {
            enter(entry.absoluteFilePath());
        } else {
            AddFound(entry, entry.absoluteFilePath());
        }
    }
}

void FileHelper::AddFound(const QFileInfo& entry, const QString& reportedPath)
{
    found.append(entry);
    Q_EMIT scan(reportedPath, static_cast<quint64>(found.size()));
}

} // namespace common

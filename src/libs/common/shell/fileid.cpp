#include "fileid.h"

#include "filepath.h"

#include <QDir>
#include <QFileInfo>

namespace common
{

namespace
{

/// Number of consecutive links after which Linux reports a loop.
constexpr int maxLinks = 40;

bool HasSameFolder(const QFileInfo& first, const QFileInfo& second)
{
    const std::optional<FileId> firstId = GetTargetId(first.path());
    const std::optional<FileId> secondId = GetTargetId(second.path());
    if (firstId && secondId) {
        return *firstId == *secondId;
    }
    return QDir(first.path())
               .canonicalPath()
               .compare(QDir(second.path()).canonicalPath(), Qt::CaseInsensitive) == 0;
}

bool HasSameName(const QFileInfo& first, const QFileInfo& second)
{
    // Also ignore case on case-sensitive file systems: better to refuse a copy than to lose a file.
    return first.fileName().compare(second.fileName(), Qt::CaseInsensitive) == 0 &&
           HasSameFolder(first, second);
}

bool IsSameEntry(const QString& first, const QString& second)
{
    const std::optional<FileId> firstId = GetFileId(first);
    const std::optional<FileId> secondId = GetFileId(second);
    if (!firstId && !secondId) {
        return HasSameName(QFileInfo(first), QFileInfo(second));
    }
    if (!firstId || !secondId) {
        return false;
    }
    return *firstId == *secondId &&
           (firstId->nameCount == 1 || HasSameName(QFileInfo(first), QFileInfo(second)));
}

} // namespace

bool IsLink(const QFileInfo& entry)
{
    return entry.isSymLink() || entry.isJunction();
}

bool IsThere(const QFileInfo& entry)
{
    // Qt recognises a shortcut by its name alone, even if the file does not exist.
    return entry.exists() || (IsLink(entry) && GetFileId(entry.filePath()).has_value());
}

bool IsSpecial(const QString& path)
{
    const QFileInfo info(path);
    return info.exists() && !info.isFile() && !info.isDir();
}

bool LeadsTo(const QString& source, const QString& destination)
{
    QString path = source;
    for (int i = 0; i <= maxLinks && !path.isEmpty(); ++i) {
        if (IsSameEntry(path, destination)) {
            return true;
        }
        path = ReadLink(path);
    }
    return false;
}

} // namespace common

#include "../fileentry.h"

#include <QFile>

#include <sys/stat.h>

namespace common
{

std::optional<FileId> GetFileId(const QString& path)
{
    struct stat status = {};
    if (::lstat(QFile::encodeName(path).constData(), &status) != 0) {
        return std::nullopt;
    }
    return FileId{status.st_dev, status.st_ino, status.st_nlink};
}

// All links are alike to unlink.
bool IsLinkOfDirectoryKind(const QString& /*path*/)
{
    return false;
}

} // namespace common

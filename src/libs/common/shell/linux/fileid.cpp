#include "../fileid.h"

#include <QFile>

#include <sys/stat.h>

namespace common
{

namespace
{

std::optional<FileId> ToId(int result, const struct stat& status)
{
    return result == 0 ? std::optional(FileId{status.st_dev, status.st_ino, status.st_nlink}) : std::nullopt;
}

} // namespace

std::optional<FileId> GetFileId(const QString& path)
{
    struct stat status = {};
    const int result = ::lstat(QFile::encodeName(path).constData(), &status);
    return ToId(result, status);
}

std::optional<FileId> GetTargetId(const QString& path)
{
    struct stat status = {};
    const int result = ::stat(QFile::encodeName(path).constData(), &status);
    return ToId(result, status);
}

} // namespace common

#include "../replaceablefile.h"

#include <QFile>

#include <sys/stat.h>
#include <sys/xattr.h>

namespace common::platform
{

bool IsReplaceable(const QString& path, int newFile)
{
    constexpr auto accessList = "system.posix_acl_access";
    const QByteArray oldFile = QFile::encodeName(path);
    struct stat oldStatus = {};
    struct stat newStatus = {};
    // The new file may also have an access control list, inherited from the directory.
    return stat(oldFile.constData(), &oldStatus) == 0 && fstat(newFile, &newStatus) == 0 &&
           oldStatus.st_nlink == 1 && oldStatus.st_uid == newStatus.st_uid &&
           oldStatus.st_gid == newStatus.st_gid &&
           getxattr(oldFile.constData(), accessList, nullptr, 0) < 0 &&
           fgetxattr(newFile, accessList, nullptr, 0) < 0;
}

} // namespace common::platform

#include "../replaceablefile.h"

#include <QFile>

#include <sys/stat.h>
#include <unistd.h>

namespace tools
{

bool IsReplaceable(const QString& path)
{
    struct stat status = {};
    return stat(QFile::encodeName(path).constData(), &status) == 0 && status.st_nlink == 1 &&
           status.st_uid == geteuid() && status.st_gid == getegid();
}

} // namespace tools

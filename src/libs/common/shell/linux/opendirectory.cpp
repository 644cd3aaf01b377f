#include "../opendirectory.h"

#include "../../platform/linux/filedescriptor.h"

#include "placeat.h"

#include <QDir>

#include <cerrno>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace common
{

namespace
{

int FlagsOf(OpenDirectory::Access access)
{
    return O_DIRECTORY | O_CLOEXEC | (access == OpenDirectory::Access::List ? O_RDONLY : O_PATH);
}

Removal Remove(const FilePlace& place, int flags)
{
    const QByteArray name = QFile::encodeName(place.name);
    if (name.contains('\0')) {
        return Removal::Missing;
    }
    if (::unlinkat(DirectoryOf(place), name.constData(), flags) == 0) {
        return Removal::Done;
    }
    if (errno != ENOTDIR) {
        return errno == ENOENT ? Removal::Missing : Removal::Failed;
    }
    // A file, or a path below a file, counts as missing. A link to a directory cannot be removed as a
    // directory.
    struct stat status = {};
    const bool isDirectory =
        ::fstatat(DirectoryOf(place), name.constData(), &status, 0) == 0 && S_ISDIR(status.st_mode);
    return isDirectory ? Removal::Failed : Removal::Missing;
}

} // namespace

OpenDirectory::~OpenDirectory()
{
    if (native != none) {
        ::close(static_cast<int>(native));
    }
}

OpenDirectory OpenDirectory::Open(const QString& path, Access access)
{
    OpenDirectory opened;
    if (path.startsWith(u':')) {
        opened.missing = !QDir(path).exists();
        opened.path = opened.missing ? QString() : path;
        return opened;
    }
    const OpenDirectory current;
    opened = current.OpenChild(path, access, Link::Follow);
    opened.missing = opened.missing || (!opened.IsOpen() && errno == ENOTDIR);
    return opened;
}

OpenDirectory OpenDirectory::OpenChild(const QString& name, Access access, Link link) const
{
    if (IsOpen() && !IsHeld()) {
        return Open(path + u'/' + name, access);
    }
    OpenDirectory opened;
    const int flags = FlagsOf(access) | (link == Link::Refuse ? O_NOFOLLOW : 0);
    platform::FileDescriptor descriptor(
        ::openat(IsHeld() ? static_cast<int>(native) : AT_FDCWD, QFile::encodeName(name).constData(), flags));
    opened.missing = !descriptor.IsOpen() && errno == ENOENT;
    struct stat status = {};
    if (descriptor.IsOpen() && ::fstat(descriptor.Get(), &status) == 0) {
        opened.path = QStringLiteral("/proc/self/fd/") + QString::number(descriptor.Get());
        opened.id = {status.st_dev, status.st_ino, status.st_nlink};
        opened.native = descriptor.Take();
    }
    return opened;
}

bool OpenDirectory::HasLastingId() const
{
    struct statfs status = {};
    if (::fstatfs(static_cast<int>(native), &status) != 0) {
        return true;
    }
    const auto type = static_cast<std::uint32_t>(status.f_type);
    return type != MSDOS_SUPER_MAGIC && type != EXFAT_SUPER_MAGIC && type != FUSE_SUPER_MAGIC;
}

bool OpenDirectory::MakeChild(const QString& name) const
{
    constexpr mode_t allThatTheUmaskLeaves = S_IRWXU | S_IRWXG | S_IRWXO;
    return ::mkdirat(static_cast<int>(native), QFile::encodeName(name).constData(), allThatTheUmaskLeaves) ==
           0;
}

Removal RemoveFileOrLink(const FilePlace& place)
{
    return Remove(place, 0);
}

bool AllowRemoval(const FilePlace& /*place*/)
{
    return false;
}

Removal RemoveEmptyDirectory(const FilePlace& place)
{
    return Remove(place, AT_REMOVEDIR);
}

} // namespace common

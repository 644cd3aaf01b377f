#include "../copyonce.h"

#include "../../platform/linux/filedescriptor.h"
#include "placeat.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

namespace common
{

using platform::FileDescriptor;

namespace
{

/// Largest size in bytes of a file that is written under its final name; the buffer is one byte larger.
constexpr std::size_t maxNamedSize = 65536;

/// Maximum number of bytes per call: 2 GiB less one page.
constexpr std::size_t maxChunk = 0x7ffff000;

constexpr mode_t permissionBits = S_IRWXU | S_IRWXG | S_IRWXO;

struct OpenPath
{
    explicit OpenPath(int descriptor)
    {
        static_cast<void>(std::snprintf(text.data(), text.size(), "/proc/self/fd/%d", descriptor));
    }

    std::array<char, 32> text;
};

/// Copies a chunk inside the kernel. copy_file_range can share blocks between the files; if it fails,
/// sendfile also works across file systems.
ssize_t MoveChunk(int source, int target)
{
    const ssize_t moved = ::copy_file_range(source, nullptr, target, nullptr, maxChunk, 0);
    return moved >= 0 ? moved : ::sendfile(target, source, nullptr, maxChunk);
}

bool WriteAll(int target, const char* data, std::size_t size)
{
    while (size > 0) {
        const ssize_t written = ::write(target, data, size);
        if (written <= 0) {
            return false;
        }
        data += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

/// Copies through a buffer. This is faster for a small file, and the only way to copy files that the kernel
/// generates.
bool CopyByBuffer(int source, int target, std::size_t expectedSize)
{
    std::array<char, maxNamedSize + 1> buffer;
    for (;;) {
        const ssize_t size = ::read(source, buffer.data(), buffer.size());
        if (size <= 0 || !WriteAll(target, buffer.data(), static_cast<std::size_t>(size))) {
            return size == 0;
        }
        // A read from a regular file returns less than requested only at the end of the file.
        if (static_cast<std::size_t>(size) == expectedSize && expectedSize < buffer.size()) {
            return true;
        }
    }
}

bool CopyContent(int source, int target, std::size_t size)
{
    if (size <= maxNamedSize) {
        return CopyByBuffer(source, target, size);
    }
    for (;;) {
        const ssize_t moved = MoveChunk(source, target);
        if (moved <= 0) {
            return moved == 0;
        }
    }
}

/// Returns the permissions that QFile::copy sets: those of the source and, for the owner, the access that
/// this user has to it.
mode_t CopiedPermissions(int source, mode_t sourceMode)
{
    constexpr mode_t anyExecute = S_IXUSR | S_IXGRP | S_IXOTH;
    mode_t mode = (sourceMode & permissionBits) | S_IRUSR;
    const OpenPath path(source);
    if ((mode & S_IWUSR) == 0 && ::access(path.text.data(), W_OK) == 0) {
        mode |= S_IWUSR;
    }
    if ((mode & S_IXUSR) == 0 && (mode & anyExecute) != 0 && ::access(path.text.data(), X_OK) == 0) {
        mode |= S_IXUSR;
    }
    return mode;
}

/// Corrects permissions that differ from `mode` because of the umask or a default access list. Ignores
/// failures, because some file systems have fixed permissions.
void SetPermissions(int target, mode_t mode)
{
    struct stat status = {};
    if (::fstat(target, &status) != 0 || (status.st_mode & permissionBits) != mode) {
        static_cast<void>(::fchmod(target, mode));
    }
}

/// The file being created.
class Target
{
public:
    explicit Target(const FilePlace& place)
        : directory(DirectoryOf(place))
        , name(QFile::encodeName(place.name))
    {}

    bool IsTaken() const
    {
        struct stat status = {};
        return ::fstatat(directory, name.constData(), &status, AT_SYMLINK_NOFOLLOW) == 0;
    }
    int OpenNamed(mode_t mode) const
    {
        return ::openat(directory, name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    }
    int OpenUnnamed(mode_t mode) const
    {
        const qsizetype slash = name.lastIndexOf('/');
        const QByteArray parent =
            slash < 0 ? QByteArrayLiteral(".") : name.left(std::max<qsizetype>(slash, 1));
        return ::openat(directory, parent.constData(), O_WRONLY | O_TMPFILE | O_CLOEXEC, mode);
    }
    bool Link(int file) const
    {
        const OpenPath path(file);
        return ::linkat(AT_FDCWD, path.text.data(), directory, name.constData(), AT_SYMLINK_FOLLOW) == 0;
    }
    void Unlink() const { ::unlinkat(directory, name.constData(), 0); }
    bool IsValid() const { return !name.contains('\0'); }

private:
    const int directory;
    const QByteArray name;
};

CopyResult CopyNamed(int source, const Target& target, std::size_t size, mode_t mode)
{
    FileDescriptor output(target.OpenNamed(mode));
    if (!output.IsOpen()) {
        return errno == EEXIST || errno == ENOENT || errno == ENOTDIR ? CopyResult::NotForMe
                                                                      : CopyResult::Failed;
    }
    SetPermissions(output.Get(), mode);
    if (!CopyContent(source, output.Get(), size) || !output.Close()) {
        target.Unlink();
        return CopyResult::Failed;
    }
    return CopyResult::Copied;
}

CopyResult CopyUnnamed(int source, FileDescriptor& output, const Target& target, std::size_t size,
                       mode_t mode, const std::function<bool()>& makeRoom)
{
    SetPermissions(output.Get(), mode);
    if (!CopyContent(source, output.Get(), size) || (makeRoom && !makeRoom()) || !target.Link(output.Get())) {
        return CopyResult::Failed;
    }
    if (!output.Close()) {
        target.Unlink();
        return CopyResult::Failed;
    }
    return CopyResult::Copied;
}

} // namespace

CopyResult CopyQuickly(const FilePlace& source, const FilePlace& destination,
                       const std::function<bool()>& makeRoom)
{
    const QByteArray sourceName = QFile::encodeName(source.name);
    const Target target(destination);
    const bool isInResource = source.directory != nullptr && !source.IsHeld();
    if (isInResource || sourceName.contains('\0') || !target.IsValid()) {
        return CopyResult::NotForMe;
    }
    struct stat status = {};
    // Check the type first, unless the scan has done so: merely opening a device can affect it.
    if (!source.IsHeld() && (::stat(sourceName.constData(), &status) != 0 || !S_ISREG(status.st_mode))) {
        return CopyResult::NotForMe;
    }
    const int noFollow = source.IsHeld() ? O_NOFOLLOW : 0;
    const FileDescriptor input(
        ::openat(DirectoryOf(source), sourceName.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | noFollow));
    if (!input.IsOpen()) {
        return errno == ENOENT || errno == ENXIO ? CopyResult::NotForMe : CopyResult::Failed;
    }
    if (::fstat(input.Get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return CopyResult::NotForMe;
    }
    const auto size = static_cast<std::size_t>(status.st_size);
    const mode_t mode = CopiedPermissions(input.Get(), status.st_mode);
    if (!makeRoom && size <= maxNamedSize) {
        return CopyNamed(input.Get(), target, size, mode);
    }
    // Check now: otherwise, the copy would fail only after all bytes are copied.
    if (!makeRoom && target.IsTaken()) {
        return CopyResult::NotForMe;
    }
    FileDescriptor output(target.OpenUnnamed(mode));
    if (output.IsOpen()) {
        return CopyUnnamed(input.Get(), output, target, size, mode, makeRoom);
    }
    if (errno == EMFILE || errno == ENFILE) {
        return CopyResult::Failed; // If no descriptor is free, removing the destination does not help.
    }
    return makeRoom ? CopyResult::NotForMe : CopyNamed(input.Get(), target, size, mode);
}

} // namespace common

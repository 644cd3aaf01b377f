#include "../copyonce.h"

#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace common
{

namespace
{

/// What one call can move at most: 2 GiB less one page.
constexpr std::size_t maxChunk = 0x7ffff000;

class Descriptor
{
public:
    explicit Descriptor(int value_)
        : value(value_)
    {}
    ~Descriptor() { Close(); }

    int Get() const { return value; }
    bool IsValid() const { return value >= 0; }
    /// False if the system has lost some of what was written.
    bool Close() { return value < 0 || ::close(std::exchange(value, -1)) == 0; }

private:
    Q_DISABLE_COPY(Descriptor)

    int value;
};

/// Lets the kernel move the bytes, within one file system first and then between any two.
ssize_t MoveChunk(int source, int target)
{
    const ssize_t moved = ::copy_file_range(source, nullptr, target, nullptr, maxChunk, 0);
    return moved >= 0 ? moved : ::sendfile(target, source, nullptr, maxChunk);
}

bool CopyContent(int source, int target)
{
    // A file system that can share the blocks of both files is done at once.
    if (::ioctl(target, FICLONE, source) == 0) {
        return true;
    }
    for (;;) {
        const ssize_t moved = MoveChunk(source, target);
        if (moved < 0) {
            return false;
        }
        if (moved == 0) {
            // Files that the kernel makes up, such as those in /proc, can look empty to it but not to a read.
            char byte = 0;
            return ::read(source, &byte, 1) == 0;
        }
    }
}

/// The permissions that QFile::copy gives: those of the source, and for the owner also what we may do with
/// it.
mode_t CopiedPermissions(const char* source, mode_t sourceMode)
{
    constexpr mode_t anyExecute = S_IXUSR | S_IXGRP | S_IXOTH;
    mode_t mode = sourceMode & (S_IRWXU | S_IRWXG | S_IRWXO);
    if ((mode & S_IRUSR) == 0 && ::access(source, R_OK) == 0) {
        mode |= S_IRUSR;
    }
    if ((mode & S_IWUSR) == 0 && ::access(source, W_OK) == 0) {
        mode |= S_IWUSR;
    }
    if ((mode & S_IXUSR) == 0 && (mode & anyExecute) != 0 && ::access(source, X_OK) == 0) {
        mode |= S_IXUSR;
    }
    return mode;
}

/// Copies a regular file without a name and then names it. False leaves nothing behind.
bool CopyByKernel(const QString& sourceName, const QString& newName)
{
    const QByteArray source = QFile::encodeName(sourceName);
    const QByteArray target = QFile::encodeName(newName);
    const QByteArray targetFolder = QFile::encodeName(QFileInfo(newName).path());

    // Not to block on what turns out to be a fifo.
    const Descriptor input(::open(source.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status = {};
    if (!input.IsValid() || ::fstat(input.Get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return false;
    }
    Descriptor output(::open(targetFolder.constData(), O_RDWR | O_CLOEXEC | O_TMPFILE, 0600));
    if (!output.IsValid() || !CopyContent(input.Get(), output.Get()) ||
        ::fchmod(output.Get(), CopiedPermissions(source.constData(), status.st_mode)) != 0) {
        return false;
    }
    const QByteArray openFile = "/proc/self/fd/" + QByteArray::number(output.Get());
    if (::linkat(AT_FDCWD, openFile.constData(), AT_FDCWD, target.constData(), AT_SYMLINK_FOLLOW) != 0) {
        return false;
    }
    if (!output.Close()) {
        ::unlink(target.constData());
        return false;
    }
    return true;
}

} // namespace

// Whatever goes wrong on the fast way, and whatever it is not made for, QFile::copy has the last word on: it
// knows more ways, and leaves its error in `file`.
bool CopyOnce(QFile& file, const QString& newName)
{
    if (file.isOpen() || !CopyByKernel(file.fileName(), newName)) {
        return file.copy(newName);
    }
    file.unsetError();
    return true;
}

} // namespace common

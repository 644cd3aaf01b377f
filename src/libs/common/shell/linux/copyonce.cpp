#include "../copyonce.h"

#include <QFile>

#include <algorithm>
#include <fcntl.h>
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

/// Lets the kernel move the bytes, within one file system first, where it may let both files share their
/// blocks, and then between any two.
ssize_t MoveChunk(int source, int target)
{
    const ssize_t moved = ::copy_file_range(source, nullptr, target, nullptr, maxChunk, 0);
    return moved >= 0 ? moved : ::sendfile(target, source, nullptr, maxChunk);
}

bool CopyContent(int source, int target, off_t size)
{
    off_t done = 0;
    for (;;) {
        const ssize_t moved = MoveChunk(source, target);
        if (moved < 0) {
            return false;
        }
        done += moved;
        if (moved == 0 || done == size) {
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

} // namespace

// The copy is made without a name and gets it when it is whole.
bool CopyQuickly(const QString& source, const QString& newName)
{
    const QByteArray sourcePath = QFile::encodeName(source);
    const QByteArray target = QFile::encodeName(newName);
    const qsizetype slash = target.lastIndexOf('/');
    const QByteArray folder = slash < 0 ? QByteArrayLiteral(".") : target.left(std::max<qsizetype>(slash, 1));

    // A name that is taken would be found out only after the copying.
    struct stat status = {};
    if (sourcePath.contains('\0') || target.contains('\0') || ::lstat(target.constData(), &status) == 0) {
        return false;
    }
    // Looked at before it is opened: opening alone can block on a fifo, or do something to a device.
    if (::stat(sourcePath.constData(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return false;
    }
    const Descriptor input(::open(sourcePath.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    Descriptor output(::open(folder.constData(), O_RDWR | O_CLOEXEC | O_TMPFILE, 0600));
    if (!input.IsValid() || !output.IsValid() || !CopyContent(input.Get(), output.Get(), status.st_size) ||
        ::fchmod(output.Get(), CopiedPermissions(sourcePath.constData(), status.st_mode)) != 0) {
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

// Whatever goes wrong on the fast way, and whatever it is not made for, QFile::copy has the last word on: it
// knows more ways, and leaves its error in `file`.
bool CopyOnce(QFile& file, const QString& newName)
{
    if (file.isOpen() || !CopyQuickly(file.fileName(), newName)) {
        return file.copy(newName);
    }
    file.unsetError();
    return true;
}

} // namespace common

#include "../peerplatform.h"

#include "../../platform/linux/filedescriptor.h"

#include <common/singleapp/qtlockedfile.h>

#include <QLocalSocket>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace QtLP_Private
{

namespace
{

// For the user alone: whoever can open the file could hold its lock.
constexpr mode_t privateMode = S_IRUSR | S_IWUSR;

/// A second name would make it another file of this user, linked to this place by somebody else.
bool IsOwnFile(const struct stat& status)
{
    return S_ISREG(status.st_mode) && status.st_uid == ::geteuid() && status.st_nlink <= 1;
}

/// Whether something else than a file of this user stands at `path`.
bool IsForeign(const QByteArray& path)
{
    struct stat status = {};
    return ::lstat(path.constData(), &status) == 0 && !IsOwnFile(status);
}

} // namespace

const int listenBacklog = 512; // The system has a limit of its own.

QString GroupSuffix()
{
    return u'-' + QString::number(::geteuid(), 16);
}

bool OpenLockFile(QtLockedFile& file)
{
    const QByteArray path = QFile::encodeName(file.fileName());
    // No link is followed, and no pipe that somebody left there holds us up.
    common::platform::FileDescriptor descriptor(
        ::open(path.constData(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, privateMode));
    struct stat status = {};
    const bool foreign =
        descriptor.IsOpen() ? ::fstat(descriptor.Get(), &status) != 0 || !IsOwnFile(status) : IsForeign(path);
    if (foreign) {
        qWarning("QtLocalPeer: %s is not a file of this user and is left alone; no other process will find "
                 "this one",
                 path.constData());
        return false;
    }
    if (descriptor.IsOpen()) {
        if ((status.st_mode & ~static_cast<mode_t>(S_IFMT)) != privateMode) {
            ::fchmod(descriptor.Get(), privateMode);
        }
        file.QFile::open(descriptor.Take(), QIODevice::ReadWrite, QFileDevice::AutoCloseHandle);
    }
    return true;
}

bool IsInPlace(const QtLockedFile& file, const QString& path)
{
    struct stat own = {};
    struct stat found = {};
    return ::fstat(file.handle(), &own) == 0 && ::lstat(QFile::encodeName(path).constData(), &found) == 0 &&
           own.st_dev == found.st_dev && own.st_ino == found.st_ino;
}

bool IsOwnPeer(const QLocalSocket& socket)
{
    ucred credentials = {};
    socklen_t size = sizeof(credentials);
    if (::getsockopt(static_cast<int>(socket.socketDescriptor()), SOL_SOCKET, SO_PEERCRED, &credentials,
                     &size) != 0) {
        return false; // The connection is gone already.
    }
    if (credentials.uid != ::geteuid()) {
        qWarning("QtLocalPeer: the process behind the local socket belongs to another user");
        return false;
    }
    return true;
}

} // namespace QtLP_Private

#include "../peerplatform.h"

#include "../../platform/linux/filedescriptor.h"

#include <common/singleapp/qtlockedfile.h>

#include <QFileSystemWatcher>
#include <QLocalSocket>

#include <cerrno>
#include <ctime>
#include <optional>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace QtLP_Private
{

namespace
{

/// For the user alone: any process that can open the file can hold its lock.
constexpr mode_t privateMode = S_IRUSR | S_IWUSR;

constexpr std::chrono::seconds freshFor = std::chrono::hours(1);

bool IsOwnFile(const struct stat& status)
{
    return S_ISREG(status.st_mode) && status.st_uid == ::geteuid();
}

/// The process that called listen, or connect, on the other side. Nothing if the connection has ended.
std::optional<ucred> PeerOf(const QLocalSocket& socket)
{
    ucred credentials = {};
    socklen_t size = sizeof(credentials);
    return ::getsockopt(static_cast<int>(socket.socketDescriptor()), SOL_SOCKET, SO_PEERCRED, &credentials,
                        &size) == 0
               ? std::optional(credentials)
               : std::nullopt;
}

/// Returns whether something other than a file of this user occupies `path`.
bool IsForeign(const QByteArray& path)
{
    struct stat status = {};
    return ::lstat(path.constData(), &status) == 0 && !IsOwnFile(status);
}

/// A process that ends releases its lock shortly before it counts as dead.
constexpr int exitTimeout = 100; // ms

/// Returns false also for a process that has ended and that its parent has not collected yet.
bool IsAlive(pid_t id)
{
    const common::platform::FileDescriptor process(static_cast<int>(::syscall(SYS_pidfd_open, id, 0)));
    if (!process.IsOpen()) {
        return errno != ESRCH; // Kernels before 5.3 have no pidfds.
    }
    pollfd end = {process.Get(), POLLIN, 0};
    return ::poll(&end, 1, exitTimeout) == 0;
}

} // namespace

const int listenBacklog = 512; // The system has its own limit.

QString GroupSuffix()
{
    return u'-' + QString::number(::geteuid(), 16);
}

bool OpenLockFile(QtLockedFile& file)
{
    const QByteArray path = QFile::encodeName(file.fileName());
    // Follows no link, and does not wait for the other end of a pipe.
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
        // A file with a second name may be any file of this user, linked here by somebody else.
        if (status.st_nlink == 1) {
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

bool KeepFresh(const QString& path)
{
    const QByteArray name = QFile::encodeName(path);
    struct stat status = {};
    if (::lstat(name.constData(), &status) != 0) {
        return false;
    }
    if (std::time(nullptr) - status.st_mtime > freshFor.count()) {
        ::utimensat(AT_FDCWD, name.constData(), nullptr, AT_SYMLINK_NOFOLLOW);
    }
    return true;
}

QFileSystemWatcher* WatchLockFile(const QString& path, QObject* parent)
{
    return new QFileSystemWatcher({path}, parent);
}

bool Connect(QLocalSocket& socket, const QString& name, std::chrono::milliseconds timeout)
{
    socket.connectToServer(name);
    return socket.waitForConnected(static_cast<int>(timeout.count()));
}

bool IsServed(const QString& name)
{
    QLocalSocket socket;
    if (!Connect(socket, name, std::chrono::milliseconds::zero())) {
        return socket.state() != QLocalSocket::UnconnectedState; // It listens, but its queue is full.
    }
    // A forked child may have inherited the socket of a process that has ended.
    const std::optional<ucred> server = PeerOf(socket);
    return server && IsAlive(server->pid);
}

bool IsOwnPeer(const QLocalSocket& socket)
{
    const std::optional<ucred> peer = PeerOf(socket);
    if (peer && peer->uid != ::geteuid()) {
        qWarning("QtLocalPeer: the process behind the local socket belongs to another user");
    }
    return peer && peer->uid == ::geteuid();
}

} // namespace QtLP_Private

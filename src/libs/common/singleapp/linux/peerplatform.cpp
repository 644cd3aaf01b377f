#include "../peerplatform.h"

#include "../../platform/linux/filedescriptor.h"

#include <common/singleapp/qtlockedfile.h>

#include <QLocalSocket>

#include <cerrno>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace QtLP_Private
{

using common::platform::FileDescriptor;

namespace
{

/// Returns the credentials of the process that called listen or connect at the other end. The user is invalid
/// if the connection has ended.
ucred PeerOf(const QLocalSocket& socket)
{
    ucred peer = {0, static_cast<uid_t>(-1), 0};
    socklen_t size = sizeof(peer);
    ::getsockopt(static_cast<int>(socket.socketDescriptor()), SOL_SOCKET, SO_PEERCRED, &peer, &size);
    return peer;
}

/// Maximum wait for an exiting process, which releases its lock shortly before its pidfd reports the end.
constexpr std::chrono::milliseconds exitTimeout{100};

/// Returns whether the process is running. A zombie counts as ended.
bool IsAlive(pid_t id)
{
    const FileDescriptor process(static_cast<int>(::syscall(SYS_pidfd_open, id, 0)));
    if (!process.IsOpen()) {
        return errno != ESRCH; // pidfd_open requires Linux 5.3.
    }
    pollfd end = {process.Get(), POLLIN, 0};
    return ::poll(&end, 1, static_cast<int>(exitTimeout.count())) == 0;
}

} // namespace

const bool filesAreRemovable = true;

QString GroupSuffix()
{
    return u'-' + QString::number(::geteuid(), 16);
}

std::unique_ptr<QtLockedFile> OpenLockFile(const QString& path)
{
    const QByteArray name = QFile::encodeName(path);
    // Accessible only to this user, because any process that can open the file can lock it.
    FileDescriptor descriptor(
        ::open(name.constData(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    struct stat status = {};
    const bool exists = ::lstat(name.constData(), &status) == 0;
    if (exists && (!S_ISREG(status.st_mode) || status.st_uid != ::geteuid())) {
        qWarning("QtLocalPeer: %s is not a file of this user and is left alone; no other process will find "
                 "this one",
                 name.constData());
        return nullptr;
    }
    auto file = std::make_unique<QtLockedFile>(path);
    if (descriptor.IsOpen()) {
        file->QFile::open(descriptor.Take(), QIODevice::ReadWrite, QFileDevice::AutoCloseHandle);
    }
    return file;
}

bool IsInPlace(const QtLockedFile& file, const QString& path)
{
    struct stat held = {};
    struct stat found = {};
    return ::fstat(file.handle(), &held) == 0 && ::stat(QFile::encodeName(path).constData(), &found) == 0 &&
           held.st_dev == found.st_dev && held.st_ino == found.st_ino;
}

bool Connect(QLocalSocket& socket, const QString& path, std::chrono::milliseconds timeout)
{
    // Unbuffered, so that Qt writes immediately instead of waiting for the socket to become writable.
    socket.connectToServer(path, QIODevice::ReadWrite | QIODevice::Unbuffered);
    return socket.waitForConnected(static_cast<int>(timeout.count()));
}

bool IsServed(const QString& path)
{
    QLocalSocket socket;
    if (!Connect(socket, path, std::chrono::milliseconds::zero())) {
        return socket.state() != QLocalSocket::UnconnectedState; // The server listens, but its queue is full.
    }
    // A forked child may have inherited the socket of a process that has ended.
    return IsAlive(PeerOf(socket).pid);
}

bool IsOwnPeer(const QLocalSocket& socket)
{
    return PeerOf(socket).uid == ::geteuid();
}

} // namespace QtLP_Private

#include <common/singleapp/qtlocalpeer.h>

#include "peerplatform.h"

#include <common/singleapp/qtlockedfile.h>

#include <QCoreApplication>
#include <QDataStream>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QLocalServer>
#include <QLocalSocket>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <functional>
#include <optional>
#include <utility>

using QtLP_Private::QtLockedFile;

namespace
{

using namespace std::chrono_literals;

constexpr int prefixLength = 6;

/// Maximum number of clients served at a time. Each takes a descriptor; a process usually has at most 1024.
constexpr int maxReceivers = 256;

/// Interval between checks of the lock file and the server. Qt closes the server if it cannot accept a
/// client, for example because the process has no descriptor left.
constexpr auto checkInterval = 5s;

/// Age at which the lock file is touched. Clean-up services delete temporary files that are several days old.
constexpr auto freshFor = 1h;

/// Pause between the two connection attempts.
constexpr auto connectPause = 250ms;

constexpr auto lengthTimeout = 30s; ///< Maximum wait for the length of a message.
constexpr auto textTimeout = 2s;    ///< Maximum wait for the next part of a message.
constexpr auto goodbyeTimeout = 1s; ///< Maximum wait for the client to read the reply and disconnect.

/// Maximum size of a message, in bytes. Messages are command lines and addresses, which are much shorter.
constexpr quint32 maxTextLength = 16 * 1024 * 1024;

/// Maximum number of unread bytes per client; the client has to wait until some are read.
constexpr qint64 socketBufferSize = Q_INT64_C(64) * 1024;

constexpr char acknowledgement[] = "ack";

/// Receives one message from one client and acknowledges it, without blocking.
class MessageReceiver : public QObject
{
public:
    /// Takes ownership of the socket. Calls `onFinished_` once, when the client has disconnected or exceeded
    /// a time limit. `onFinished_` may run inside a signal of the socket and must not delete the receiver.
    MessageReceiver(QLocalSocket* socket_, QObject* parent, std::function<void(MessageReceiver*)> onFinished_)
        : QObject(parent)
        , socket(socket_)
        , onFinished(std::move(onFinished_))
    {
        socket->setParent(this);
        socket->setReadBufferSize(socketBufferSize);
        connect(socket, &QLocalSocket::readyRead, this, &MessageReceiver::Read);
        connect(socket, &QLocalSocket::disconnected, this, &MessageReceiver::End);
        timer.setSingleShot(true);
        timer.callOnTimeout(this, &MessageReceiver::OnTimeout);
        timer.start(lengthTimeout);
        Read();
        if (socket->state() == QLocalSocket::UnconnectedState) {
            End(); // The client disconnected before the receiver was created.
        }
    }

    /// Returns the message, or nothing if none has been received. Kept for compatibility: an incomplete
    /// message counts as received; zero bytes replace the missing part.
    std::optional<QString> TakeMessage()
    {
        if (!acknowledged) {
            return std::nullopt;
        }
        text.resize(*length, '\0'); // Resize last: an announced length alone must not use memory.
        return QString::fromUtf8(std::exchange(text, {}));
    }

private:
    void Read()
    {
        if (!length && socket->bytesAvailable() >= static_cast<qint64>(sizeof(quint32))) {
            QDataStream(socket) >> length.emplace();
        }
        if (!length || acknowledged || finished) {
            return;
        }
        if (*length > maxTextLength) {
            qWarning("QtLocalPeer: Message reception failed a text of %u bytes is too long", *length);
            Finish();
            return;
        }
        // The buffer grows with the data received, not to the announced length.
        text += socket->read(std::min(*length - text.size(), socket->bytesAvailable()));
        if (text.size() == *length) {
            Acknowledge();
        } else {
            timer.start(textTimeout);
        }
    }

    void Acknowledge()
    {
        acknowledged = true;
        if (socket->state() == QLocalSocket::ConnectedState) {
            socket->write(acknowledgement);
            socket->flush();
        }
        timer.start(goodbyeTimeout);
    }

    void OnTimeout()
    {
        // A busy thread may not have processed data that has arrived. Wait for 1 ms: with a zero timeout,
        // Windows may report an event other than the data.
        socket->waitForReadyRead(1);
        if (timer.isActive() || finished) {
            return;
        }
        if (length && !acknowledged) {
            Acknowledge();
        } else {
            End();
        }
    }

    /// Ends the reception when the client has disconnected or exceeded a time limit.
    void End()
    {
        Read();
        if (finished) {
            return;
        }
        if (!length) {
            qWarning("QtLocalPeer: Peer disconnected");
        } else if (!acknowledged) {
            Acknowledge();
        }
        Finish();
    }

    void Finish()
    {
        finished = true;
        timer.stop();
        onFinished(this);
    }

    QLocalSocket* const socket;
    QTimer timer{this};
    const std::function<void(MessageReceiver*)> onFinished;
    std::optional<quint32> length;
    QByteArray text;
    bool acknowledged = false;
    bool finished = false;
};

} // namespace

class QtLocalPeerPrivate
{
public:
    QtLocalPeerPrivate(QtLocalPeer* peer, const QString& appId);

    void BeginService();
    QString Listen();
    void Check();
    void Deliver(MessageReceiver* receiver);

    QtLocalPeer* const q;
    QString id;
    QString socketName;
    QString socketPath;
    QString lockPath;                       ///< Empty without a temporary directory.
    std::unique_ptr<QtLockedFile> lockFile; ///< Null if the path is not a file of this user.
    QLocalServer* server = nullptr;         ///< Null in a secondary instance.
    QFileSystemWatcher* watcher = nullptr;  ///< Watches the lock file, if it can be removed.
    QList<MessageReceiver*> receivers;
};

QtLocalPeerPrivate::QtLocalPeerPrivate(QtLocalPeer* peer, const QString& appId)
    : q(peer)
    , id(appId)
{
    QString prefix = appId;
    if (id.isEmpty()) {
        id = QCoreApplication::applicationFilePath().toLower();
        prefix = id.section(u'/', -1);
    }
    // Avoid QRegularExpression: in mingw-w64 builds, a thread that has used it fails when it ends.
    prefix.removeIf([](QChar character) {
        const char16_t lower = character.unicode() | 0x20;
        return lower < u'a' || lower > u'z';
    });
    const quint16 checksum = qChecksum(id.toUtf8(), Qt::ChecksumIso3309);
    socketName = QStringLiteral("qtsingleapp-") + prefix.left(prefixLength) + u'-' +
                 QString::number(checksum, 16) + QtLP_Private::GroupSuffix();

    // If there is no temporary directory, do not create the file in the working directory.
    if (const QString directory = QDir::tempPath(); !directory.isEmpty()) {
        socketPath = QDir(directory).absolutePath() + u'/' + socketName;
        lockPath = socketPath + QStringLiteral("-lockfile");
    }
    lockFile = QtLP_Private::OpenLockFile(lockPath);
}

void QtLocalPeerPrivate::BeginService()
{
    server = new QLocalServer(q);
    server->setSocketOptions(QLocalServer::UserAccessOption);
    // Qt reads from pending clients without a limit, so allow only one; the system queues the others.
    server->setMaxPendingConnections(1);
    QObject::connect(server, &QLocalServer::newConnection, q, &QtLocalPeer::receiveConnection);
    if (const QString problem = Listen(); !problem.isEmpty()) {
        qWarning("QtSingleCoreApplication: listen on local socket failed, %s", qPrintable(problem));
    }
    auto* const checkTimer = new QTimer(server);
    checkTimer->callOnTimeout(server, [this] { Check(); });
    checkTimer->start(checkInterval);
    if (QtLP_Private::filesAreRemovable) {
        watcher = new QFileSystemWatcher({lockPath}, server);
        // Queued, because Check changes the watched paths.
        QObject::connect(
            watcher, &QFileSystemWatcher::fileChanged, server, [this] { Check(); }, Qt::QueuedConnection);
    }
}

/// Starts to listen. Returns the reason if this fails, otherwise an empty string. Only the holder of the lock
/// calls this function, so it may replace the socket of a dead process.
QString QtLocalPeerPrivate::Listen()
{
    if (QtLP_Private::IsServed(socketPath)) {
        return QStringLiteral("QLocalServer::listen: Address in use"); // Qt's message for this error.
    }
    return server->listen(socketName) ? QString() : server->errorString();
}

/// Restores a removed lock file or socket, and keeps the lock file from looking abandoned.
void QtLocalPeerPrivate::Check()
{
    const QDateTime now = QDateTime::currentDateTimeUtc();
    if (!QtLP_Private::IsInPlace(*lockFile, lockPath)) {
        auto restored = QtLP_Private::OpenLockFile(lockPath);
        if (restored && restored->isOpen() && restored->lock(QtLockedFile::WriteLock, false)) {
            lockFile = std::move(restored);
            watcher->removePath(lockPath);
            watcher->addPath(lockPath);
        }
    } else if (QFileInfo(lockPath).lastModified() < now.addDuration(-freshFor)) {
        // Only if the file is in place: touching a removed one would trigger the watcher again.
        lockFile->setFileTime(now, QFileDevice::FileAccessTime);
        lockFile->setFileTime(now, QFileDevice::FileModificationTime);
    }
    if (QtLP_Private::filesAreRemovable && !QFile::exists(socketPath)) {
        server->close();
    }
    if (!server->isListening()) {
        Listen();
    }
}

/// Closes the connection before emitting the message, so that the client does not wait for connected slots.
void QtLocalPeerPrivate::Deliver(MessageReceiver* receiver)
{
    if (!receivers.removeOne(receiver)) {
        return; // The destructor has already delivered the message.
    }
    const std::optional<QString> message = receiver->TakeMessage();
    delete receiver;
    q->receiveConnection();
    if (message) {
        Q_EMIT q->messageReceived(*message); // A slot may delete the peer.
    }
}

QtLocalPeer::QtLocalPeer(QObject* parent, const QString& appId)
    : QObject(parent)
    , d(std::make_unique<QtLocalPeerPrivate>(this, appId))
{}

QtLocalPeer::~QtLocalPeer()
{
    // Delete the server while the lock is held: it removes the socket by name, and the next primary instance
    // uses the same name.
    delete std::exchange(d->server, nullptr);
    while (!d->receivers.isEmpty()) {
        d->Deliver(d->receivers.constFirst());
    }
}

bool QtLocalPeer::isSecondary()
{
    if (!d->lockFile || d->lockFile->isLocked()) {
        return false;
    }
    if (!d->lockFile->lock(QtLockedFile::WriteLock, false)) {
        return true;
    }
    if (!QtLP_Private::IsInPlace(*d->lockFile, d->lockPath)) {
        // The lock file was removed after it was opened, so claim the file that other processes find.
        d->lockFile = QtLP_Private::OpenLockFile(d->lockPath);
        return isSecondary();
    }
    d->BeginService();
    return false;
}

bool QtLocalPeer::sendMessage(const QString& message, int timeout)
{
    if (!isSecondary()) {
        return false;
    }
    timeout = std::max(timeout, -1); // Qt accepts no other negative value for "no limit".
    const auto connectTimeout = std::chrono::milliseconds(timeout / 2);
    QLocalSocket socket;
    if (!QtLP_Private::Connect(socket, d->socketPath, connectTimeout)) {
        QThread::msleep(connectPause.count());
        socket.abort();
        if (!QtLP_Private::Connect(socket, d->socketPath, connectTimeout)) {
            return false;
        }
    }
    if (!QtLP_Private::IsOwnPeer(socket)) {
        qWarning("QtLocalPeer: the process behind the local socket is not known to belong to this user");
        return false;
    }
    const QByteArray text = message.toUtf8();
    QByteArray bytes;
    QDataStream(&bytes, QIODevice::WriteOnly).writeBytes(text.constData(), static_cast<uint>(text.size()));
    socket.write(bytes);
    return (socket.bytesToWrite() == 0 || socket.waitForBytesWritten(timeout)) &&
           socket.waitForReadyRead(timeout) && socket.read(sizeof(acknowledgement) - 1) == acknowledgement;
}

const QString& QtLocalPeer::applicationId() const
{
    return d->id;
}

void QtLocalPeer::receiveConnection()
{
    while (d->server != nullptr && d->receivers.size() < maxReceivers && d->server->hasPendingConnections()) {
        const auto deliver = [this](MessageReceiver* receiver) {
            QMetaObject::invokeMethod(
                this, [this, receiver] { d->Deliver(receiver); }, Qt::QueuedConnection);
        };
        d->receivers += new MessageReceiver(d->server->nextPendingConnection(), this, deliver);
    }
}

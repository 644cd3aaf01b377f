#include <common/singleapp/qtlocalpeer.h>

#include "messagereceiver.h"
#include "peerplatform.h"

#include <common/singleapp/qtlockedfile.h>

#include <QCoreApplication>
#include <QDataStream>
#include <QDir>
#include <QFileSystemWatcher>
#include <QLocalServer>
#include <QLocalSocket>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <optional>
#include <utility>

using QtLP_Private::MessageReceiver;
using QtLP_Private::QtLockedFile;

namespace
{

using namespace std::chrono_literals;

constexpr int prefixLength = 6;

/// Number of clients served at a time. Each takes a descriptor, of which a process has about a thousand.
constexpr int maxReceivers = 256;

/// Interval between checks of the lock file and the socket. The server also closes if it cannot accept a
/// client, for example because the process has no descriptor left.
constexpr auto checkInterval = 5s;

/// Pause between the two attempts to connect.
constexpr auto connectPause = 250ms;

/// Without a regular expression: built with mingw, Qt's breaks a thread that used one when the thread ends.
QString LettersOf(QString text)
{
    text.removeIf([](QChar character) {
        const char16_t lower = character.unicode() | 0x20;
        return lower < u'a' || lower > u'z';
    });
    return text;
}

} // namespace

class QtLocalPeerPrivate
{
public:
    QtLocalPeerPrivate(QtLocalPeer* peer, const QString& appId);

    bool Claim();
    bool OpenLockFile(QtLockedFile& file) const;
    void BeginService();
    void EndService();
    void Check();
    void Listen();
    void Serve(QLocalSocket* socket);
    void OnFinished(MessageReceiver* receiver);
    void Deliver(MessageReceiver* receiver);

    QtLocalPeer* const q;
    QString id;
    QString socketName;
    QString lockPath; ///< Empty without a temporary directory.
    QLocalServer* const server;
    std::unique_ptr<QtLockedFile> lockFile = std::make_unique<QtLockedFile>();
    bool foreignLockFile = false;
    QFileSystemWatcher* watcher = nullptr; ///< Of the lock file; null on Windows.
    QTimer checkTimer{q};                  ///< Runs in the primary instance.
    QString listenProblem;                 ///< The reason why the last attempt to listen failed.
    QList<MessageReceiver*> receivers;     ///< Oldest first.
};

QtLocalPeerPrivate::QtLocalPeerPrivate(QtLocalPeer* peer, const QString& appId)
    : q(peer)
    , id(appId)
    , server(new QLocalServer(peer))
{
    QString prefix = appId;
    if (id.isEmpty()) {
        id = QCoreApplication::applicationFilePath().toLower();
        prefix = id.section(u'/', -1);
    }
    prefix = LettersOf(prefix).left(prefixLength);
    const quint16 checksum = qChecksum(id.toUtf8(), Qt::ChecksumIso3309);
    socketName = QStringLiteral("qtsingleapp-") + prefix + u'-' + QString::number(checksum, 16) +
                 QtLP_Private::GroupSuffix();

    checkTimer.setTimerType(Qt::VeryCoarseTimer);
    checkTimer.setInterval(checkInterval);
    // Only the holder of the lock listens, so it may replace a socket that a killed process has left.
    server->setSocketOptions(QLocalServer::UserAccessOption);
    server->setListenBacklogSize(QtLP_Private::listenBacklog);
    // Qt reads ahead from clients that wait; the system keeps the others waiting.
    server->setMaxPendingConnections(1);

    const QString directory = QDir::tempPath();
    // Empty if there is none; the file must not be created in the working directory then.
    if (!directory.isEmpty()) {
        lockPath = QDir(directory).absolutePath() + u'/' + socketName + QStringLiteral("-lockfile");
        foreignLockFile = !OpenLockFile(*lockFile);
    }
}

bool QtLocalPeerPrivate::OpenLockFile(QtLockedFile& file) const
{
    file.setFileName(lockPath);
    return QtLP_Private::OpenLockFile(file);
}

/// Returns whether this process is the primary instance.
bool QtLocalPeerPrivate::Claim()
{
    if (lockFile->isLocked() || foreignLockFile) {
        return true;
    }
    if (!lockFile->lock(QtLockedFile::WriteLock, false)) {
        return false;
    }
    if (!QtLP_Private::IsInPlace(*lockFile, lockPath)) {
        // It has been removed since it was opened: the claim is made on the file that others find.
        lockFile = std::make_unique<QtLockedFile>();
        foreignLockFile = !OpenLockFile(*lockFile);
        return Claim();
    }
    BeginService();
    return true;
}

void QtLocalPeerPrivate::BeginService()
{
    QObject::connect(server, &QLocalServer::newConnection, q, &QtLocalPeer::receiveConnection);
    Listen();
    QObject::connect(&checkTimer, &QTimer::timeout, q, [this] { Check(); });
    checkTimer.start();
    watcher = QtLP_Private::WatchLockFile(lockPath, q);
    if (watcher != nullptr) {
        // Queued, since Check changes what is watched.
        QObject::connect(
            watcher, &QFileSystemWatcher::fileChanged, q, [this] { Check(); }, Qt::QueuedConnection);
    }
}

void QtLocalPeerPrivate::EndService()
{
    checkTimer.stop();
    // Closing removes the socket by its name, which may be the next owner's as soon as the lock is free.
    server->close();
    const QList<MessageReceiver*> unfinished = std::exchange(receivers, {});
    for (MessageReceiver* const receiver : unfinished) {
        Deliver(receiver);
    }
}

/// Restores what has been removed from the temporary directory, and keeps the rest from looking abandoned.
void QtLocalPeerPrivate::Check()
{
    QtLP_Private::KeepFresh(lockPath);
    if (!QtLP_Private::IsInPlace(*lockFile, lockPath)) {
        auto restored = std::make_unique<QtLockedFile>();
        if (OpenLockFile(*restored) && restored->lock(QtLockedFile::WriteLock, false)) {
            lockFile = std::move(restored);
            watcher->removePath(lockPath);
            watcher->addPath(lockPath);
        }
    }
    if (server->isListening() && !QtLP_Private::KeepFresh(server->fullServerName())) {
        server->close();
    }
    Listen();
}

void QtLocalPeerPrivate::Listen()
{
    if (server->isListening()) {
        return;
    }
    QString problem;
    if (QtLP_Private::IsServed(socketName)) {
        problem = QStringLiteral("QLocalServer::listen: Address in use"); // In Qt's words.
    } else if (!server->listen(socketName)) {
        problem = server->errorString();
    }
    // Report a persistent problem only once.
    if (!problem.isEmpty() && problem != listenProblem) {
        qWarning("QtSingleCoreApplication: listen on local socket failed, %s", qPrintable(problem));
    }
    listenProblem = problem;
}

void QtLocalPeerPrivate::Serve(QLocalSocket* socket)
{
    auto* const receiver = new MessageReceiver(socket, q);
    receivers += receiver;
    QObject::connect(
        receiver, &MessageReceiver::finished, q, [this, receiver] { OnFinished(receiver); },
        Qt::QueuedConnection);
    receiver->Start();
}

void QtLocalPeerPrivate::OnFinished(MessageReceiver* receiver)
{
    if (receivers.removeOne(receiver)) {
        q->receiveConnection();
        Deliver(receiver);
    }
}

/// Closes the connection first, so that the client does not wait for what the message causes.
void QtLocalPeerPrivate::Deliver(MessageReceiver* receiver)
{
    const std::optional<QString> message = receiver->TakeMessage();
    delete receiver;
    if (message) {
        Q_EMIT q->messageReceived(*message);
    }
}

QtLocalPeer::QtLocalPeer(QObject* parent, const QString& appId)
    : QObject(parent)
    , d(std::make_unique<QtLocalPeerPrivate>(this, appId))
{}

QtLocalPeer::~QtLocalPeer()
{
    d->EndService();
}

bool QtLocalPeer::isSecondary()
{
    return !d->Claim();
}

bool QtLocalPeer::sendMessage(const QString& message, int timeout)
{
    if (!isSecondary()) {
        return false;
    }
    timeout = std::max(timeout, -1); // Qt accepts no other negative value for "no limit".
    const auto connectTimeout = std::chrono::milliseconds(timeout / 2);
    QLocalSocket socket;
    if (!QtLP_Private::Connect(socket, d->socketName, connectTimeout)) {
        QThread::msleep(connectPause.count());
        socket.abort();
        if (!QtLP_Private::Connect(socket, d->socketName, connectTimeout)) {
            return false;
        }
    }
    if (!QtLP_Private::IsOwnPeer(socket)) {
        return false;
    }
    const QByteArray text = message.toUtf8();
    QDataStream(&socket).writeBytes(text.constData(), static_cast<uint>(text.size()));
    if (!socket.waitForBytesWritten(timeout) || !socket.waitForReadyRead(timeout)) {
        return false;
    }
    return socket.read(QtLP_Private::acknowledgementSize) == QtLP_Private::acknowledgement;
}

const QString& QtLocalPeer::applicationId() const
{
    return d->id;
}

void QtLocalPeer::receiveConnection()
{
    while (d->receivers.size() < maxReceivers && d->server->hasPendingConnections()) {
        d->Serve(d->server->nextPendingConnection());
    }
}

#include <common/singleapp/qtlocalpeer.h>

#include "messagereceiver.h"
#include "peerplatform.h"

#include <QCoreApplication>
#include <QDataStream>
#include <QDeadlineTimer>
#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QThread>

#include <algorithm>

using QtLP_Private::MessageReceiver;
using QtLP_Private::QtLockedFile;

namespace
{

constexpr int prefixLength = 6;

// How many clients are served at a time. Each takes a descriptor, of which a process has about a thousand.
constexpr int maxReceivers = 128;

// A client that says nothing may stay as long as there is room. When others wait, it is looked so often, in
// milliseconds, for one that has had its time.
constexpr int roomPoll = 100;

// The server closes when it cannot take a client, as when the process has no descriptor left. So often, in
// milliseconds, it is looked after.
constexpr int listenCheck = 5000;

// Between the two tries to connect, in milliseconds.
constexpr unsigned long pauseBetweenTries = 250;

// A first process holds its lock a moment before it listens. So long, in milliseconds, until it is asked
// again.
constexpr unsigned long listenPoll = 10;

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

QtLocalPeer::QtLocalPeer(QObject* parent, const QString& appId)
    : QObject(parent)
    , id(appId)
    , server(new QLocalServer(this))
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

    roomTimer.setSingleShot(true);
    roomTimer.setInterval(roomPoll);
    connect(&roomTimer, &QTimer::timeout, this, &QtLocalPeer::receiveConnection);
    listenTimer.setTimerType(Qt::VeryCoarseTimer);
    listenTimer.setInterval(listenCheck);
    connect(&listenTimer, &QTimer::timeout, this, &QtLocalPeer::Listen);
    connect(server, &QLocalServer::newConnection, this, &QtLocalPeer::receiveConnection);

    // Only the holder of the lock listens, so it may take the place of a socket that a killed process left.
    server->setSocketOptions(QLocalServer::UserAccessOption);
    server->setListenBacklogSize(QtLP_Private::listenBacklog);

    const QString folder = QDir::tempPath();
    // Empty if there is none; the file must not come into the working directory then.
    if (!folder.isEmpty()) {
        lockPath = QDir(folder).absolutePath() + u'/' + socketName + QStringLiteral("-lockfile");
        OpenLockFile();
    }
}

QtLocalPeer::~QtLocalPeer()
{
    // They count in a member, which is gone before the children are.
    qDeleteAll(receivers);
    receivers.clear();
    // Closing removes the socket by its name, which may be the next owner's as soon as the lock is free.
    server->close();
}

bool QtLocalPeer::isSecondary()
{
    if (lockFile.isLocked() || foreignLockFile) {
        return false;
    }
    if (!lockFile.lock(QtLockedFile::WriteLock, false)) {
        return true;
    }
    if (!QtLP_Private::IsInPlace(lockFile, lockPath)) {
        // Somebody has removed it since it was opened: the claim is made on the file that others find.
        lockFile.unlock();
        lockFile.close();
        OpenLockFile();
        if (!foreignLockFile && !lockFile.lock(QtLockedFile::WriteLock, false)) {
            return true;
        }
    }
    if (!foreignLockFile) {
        Listen();
        listenTimer.start();
    }
    return false;
}

void QtLocalPeer::OpenLockFile()
{
    lockFile.setFileName(lockPath);
    foreignLockFile = !QtLP_Private::OpenLockFile(lockFile);
}

void QtLocalPeer::Listen()
{
    if (server->isListening()) {
        return;
    }
    const QString problem = server->listen(socketName) ? QString() : server->errorString();
    // What stays wrong is told once.
    if (!problem.isEmpty() && problem != listenProblem) {
        qWarning("QtSingleCoreApplication: listen on local socket failed, %s", qPrintable(problem));
    }
    listenProblem = problem;
}

/// One try to connect: as long as the first process does not listen yet, or too many others knock, until the
/// time is over. Ends early if there is no first process any more; then this one has become it.
bool QtLocalPeer::Connect(QLocalSocket& socket, int timeout)
{
    const QDeadlineTimer deadline(timeout);
    do {
        socket.connectToServer(socketName, QIODevice::ReadWrite);
        // A local socket is connected at once or not at all; Qt would try again without a pause.
        if (socket.waitForConnected(1)) {
            return true;
        }
        // Without the lock file it cannot be told whether there is a first process to wait for.
        if (deadline.hasExpired() || !lockFile.isOpen()) {
            return false;
        }
        socket.abort();
        QThread::msleep(listenPoll);
    } while (isSecondary());
    return false;
}

bool QtLocalPeer::sendMessage(const QString& message, int timeout)
{
    if (!isSecondary()) {
        return false;
    }
    timeout = std::max(timeout, -1); // Qt takes no other negative one for "no limit".
    const int half = timeout < 0 ? timeout : timeout / 2;
    QLocalSocket socket;
    bool connected = Connect(socket, half);
    if (!connected && (!lockFile.isOpen() || isSecondary())) {
        QThread::msleep(pauseBetweenTries);
        connected = Connect(socket, half);
    }
    if (!connected || !QtLP_Private::IsOwnPeer(socket)) {
        return false;
    }
    const QByteArray text = message.toUtf8();
    QDataStream(&socket).writeBytes(text.constData(), static_cast<uint>(text.size()));
    if (!socket.waitForBytesWritten(timeout) || !socket.waitForReadyRead(timeout)) {
        return false;
    }
    return socket.read(QtLP_Private::acknowledgementSize) == QtLP_Private::acknowledgement;
}

void QtLocalPeer::receiveConnection()
{
    // Those that wait are read ahead by Qt.
    const auto waiting = server->findChildren<QLocalSocket*>(QString(), Qt::FindDirectChildrenOnly);
    for (QLocalSocket* const socket : waiting) {
        socket->setReadBufferSize(QtLP_Private::socketBufferSize);
    }
    while (server->hasPendingConnections()) {
        if (!HasRoom()) {
            roomTimer.start();
            return;
        }
        auto* const receiver = new MessageReceiver(server->nextPendingConnection(), longTexts, this);
        receivers += receiver;
        connect(receiver, &MessageReceiver::received, this, &QtLocalPeer::messageReceived);
        connect(receiver, &MessageReceiver::finished, this, &QtLocalPeer::OnReceiverFinished,
                Qt::QueuedConnection);
    }
}

/// Whether one more client can be served. Dismisses one that has had its time, if need be.
bool QtLocalPeer::HasRoom()
{
    if (receivers.size() < maxReceivers) {
        return true;
    }
    const auto overdue = std::find_if(receivers.cbegin(), receivers.cend(),
                                      [](MessageReceiver* receiver) { return receiver->IsOverdue(); });
    if (overdue == receivers.cend()) {
        return false;
    }
    (*overdue)->Dismiss();
    receivers.erase(overdue);
    return true;
}

void QtLocalPeer::OnReceiverFinished(MessageReceiver* receiver)
{
    receivers.removeOne(receiver);
    receiver->deleteLater();
    receiveConnection();
}

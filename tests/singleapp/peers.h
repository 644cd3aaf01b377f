#pragma once

#include <common/singleapp/qtlocalpeer.h>
#include <common/singleapp/qtlockedfile.h>

#include <QCoreApplication>
#include <QDataStream>
#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <memory>

using QtLP_Private::QtLockedFile;

/// Sends a message as a secondary instance, on a separate thread because a lock may belong to a thread. Keeps
/// the caller's event loop running. Returns whether the message was acknowledged.
inline bool SendFromElsewhere(const QString& appId, const QString& text, int timeout = 20000)
{
    bool sent = false;
    const std::unique_ptr<QThread> thread(
        QThread::create([&] { sent = QtLocalPeer(nullptr, appId).sendMessage(text, timeout); }));
    thread->start();
    while (!thread->wait(1)) {
        QCoreApplication::processEvents();
    }
    return sent;
}

/// Returns a message in the wire format, with a length that may be wrong.
inline QByteArray OnTheWire(const QByteArray& text, quint32 length)
{
    QByteArray bytes;
    QDataStream(&bytes, QIODevice::WriteOnly) << length;
    return bytes + text;
}

/// Connects a client that sends these bytes.
inline std::unique_ptr<QLocalSocket> ConnectTo(const QString& socketName, const QByteArray& bytes = {})
{
    auto socket = std::make_unique<QLocalSocket>();
    socket->connectToServer(socketName);
    if (!socket->waitForConnected(10000)) {
        qFatal("the server does not accept a client");
    }
    socket->write(bytes);
    socket->flush();
    return socket;
}

/// A primary instance that records the messages it receives.
class Primary
{
public:
    explicit Primary(const QString& appId)
        : peer(nullptr, appId)
    {
        if (peer.isSecondary()) {
            qFatal("another process is the primary instance");
        }
        QObject::connect(&peer, &QtLocalPeer::messageReceived, &peer,
                         [this](const QString& text) { received += text; });
    }

    QString SocketName() const { return peer.findChild<QLocalServer*>()->serverName(); }

    QStringList received;
    QtLocalPeer peer;
};

/// Returns the name of the socket. Creates the lock file. Call it only if no primary instance exists.
inline QString SocketName(const QString& appId)
{
    return Primary(appId).SocketName();
}

inline void SetTempPath(const QString& path)
{
    for (const char* variable : {"TMPDIR", "TMP", "TEMP"}) {
        qputenv(variable, path.toLocal8Bit());
    }
}

/// A temporary directory for this run. Child processes use it, too.
class PrivateTemp : public QTemporaryDir
{
public:
    PrivateTemp() { SetTempPath(path()); }
};

#include "messagereceiver.h"

#include <QDataStream>

#include <algorithm>
#include <chrono>
#include <utility>

namespace QtLP_Private
{

namespace
{

using namespace std::chrono_literals;

constexpr auto lengthTimeout = 30s; ///< For the length to arrive.
constexpr auto textTimeout = 2s;    ///< For the next piece of the text.
constexpr auto goodbyeTimeout = 1s; ///< For the client to read the reply and close.

/// Messages are command lines and addresses; a longer claim comes from a faulty client.
constexpr quint32 maxTextLength = 16 * 1024 * 1024;

/// Unread bytes of a client; it has to wait while there are more.
constexpr qint64 socketBufferSize = Q_INT64_C(64) * 1024;

} // namespace

MessageReceiver::MessageReceiver(QLocalSocket* socket_, QObject* parent)
    : QObject(parent)
    , socket(socket_)
{
    socket->setParent(this);
    socket->setReadBufferSize(socketBufferSize);
    connect(socket, &QLocalSocket::readyRead, this, &MessageReceiver::OnReadyRead);
    connect(socket, &QLocalSocket::disconnected, this, &MessageReceiver::OnDisconnected);
    timer.setSingleShot(true);
    connect(&timer, &QTimer::timeout, this, &MessageReceiver::OnTimeout);
}

void MessageReceiver::Start()
{
    timer.start(lengthTimeout);
    // The client may have written, or left, before the socket was handed over.
    if (socket->state() == QLocalSocket::UnconnectedState) {
        OnDisconnected();
    } else {
        OnReadyRead();
    }
}

// Padded only here: until then, a great claim costs nothing.
std::optional<QString> MessageReceiver::TakeMessage()
{
    if (!complete) {
        return std::nullopt;
    }
    QByteArray bytes = std::exchange(text, {});
    bytes.resize(static_cast<qsizetype>(length), '\0');
    return QString::fromUtf8(bytes);
}

void MessageReceiver::OnReadyRead()
{
    if (stage == Stage::Length) {
        ReadLength();
    }
    if (stage == Stage::Text) {
        ReadText();
    }
}

void MessageReceiver::OnDisconnected()
{
    OnReadyRead();
    End();
}

void MessageReceiver::End()
{
    switch (stage) {
    case Stage::Length:
        qWarning("QtLocalPeer: Peer disconnected");
        Finish();
        break;
    case Stage::Text:
        CompleteText();
        Finish();
        break;
    case Stage::Goodbye:
        Finish();
        break;
    case Stage::Finished:
        break;
    }
}

void MessageReceiver::OnTimeout()
{
    // A busy thread may not have processed what has arrived. Waits for 1 ms: with a zero timeout, Windows may
    // report an event other than the data.
    socket->waitForReadyRead(1);
    if (timer.isActive() || stage == Stage::Finished) {
        return;
    }
    if (stage == Stage::Text) {
        CompleteText();
    } else {
        End();
    }
}

void MessageReceiver::ReadLength()
{
    if (socket->bytesAvailable() < static_cast<qint64>(sizeof(length))) {
        return;
    }
    QDataStream(socket) >> length;
    if (length > maxTextLength) {
        Fail(QStringLiteral("a text of %1 bytes is too long").arg(length));
        return;
    }
    stage = Stage::Text;
}

void MessageReceiver::ReadText()
{
    // The buffer grows with what arrives, not with what was announced.
    while (text.size() < length && socket->bytesAvailable() > 0) {
        const QByteArray piece = socket->read(std::min(length - text.size(), socket->bytesAvailable()));
        if (piece.isEmpty()) {
            Fail(socket->errorString());
            return;
        }
        text += piece;
    }
    if (text.size() == length) {
        CompleteText();
    } else {
        timer.start(textTimeout);
    }
}

void MessageReceiver::CompleteText()
{
    complete = true;
    stage = Stage::Goodbye;
    timer.start(goodbyeTimeout);
    if (socket->state() == QLocalSocket::ConnectedState) {
        socket->write(acknowledgement, acknowledgementSize);
        socket->flush();
    }
}

void MessageReceiver::Fail(const QString& reason)
{
    qWarning("QtLocalPeer: Message reception failed %s", reason.toLatin1().constData());
    Finish();
}

void MessageReceiver::Finish()
{
    stage = Stage::Finished;
    timer.stop();
    Q_EMIT finished();
}

} // namespace QtLP_Private

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
    connect(socket, &QLocalSocket::readyRead, this, &MessageReceiver::Read);
    connect(socket, &QLocalSocket::disconnected, this, &MessageReceiver::End);
    timer.setSingleShot(true);
    timer.callOnTimeout(this, &MessageReceiver::OnTimeout);
}

void MessageReceiver::Start()
{
    timer.start(lengthTimeout);
    Read();
    // The client may have left before the socket was handed over.
    if (socket->state() == QLocalSocket::UnconnectedState) {
        End();
    }
}

// Padded only here: until then, a great claim costs nothing.
std::optional<QString> MessageReceiver::TakeMessage()
{
    if (!acknowledged) {
        return std::nullopt;
    }
    QByteArray bytes = std::exchange(text, {});
    bytes.resize(static_cast<qsizetype>(length), '\0');
    return QString::fromUtf8(bytes);
}

void MessageReceiver::Read()
{
    if (stage == Stage::Length && socket->bytesAvailable() >= static_cast<qint64>(sizeof(length))) {
        QDataStream(socket) >> length;
        stage = Stage::Text;
    }
    if (stage != Stage::Text) {
        return;
    }
    if (length > maxTextLength) {
        qWarning("QtLocalPeer: Message reception failed a text of %u bytes is too long", length);
        Finish();
        return;
    }
    // The buffer grows with what arrives, not with what was announced.
    text += socket->read(std::min(length - text.size(), socket->bytesAvailable()));
    if (text.size() == length) {
        Acknowledge();
    } else {
        timer.start(textTimeout);
    }
}

void MessageReceiver::Acknowledge()
{
    acknowledged = true;
    stage = Stage::Goodbye;
    timer.start(goodbyeTimeout);
    if (socket->state() == QLocalSocket::ConnectedState) {
        socket->write(acknowledgement);
        socket->flush();
    }
}

void MessageReceiver::OnTimeout()
{
    // A busy thread may not have processed what has arrived. Waits for 1 ms: with a zero timeout, Windows may
    // report an event other than the data.
    socket->waitForReadyRead(1);
    if (timer.isActive()) {
        return;
    }
    if (stage == Stage::Text) {
        Acknowledge();
    } else {
        End();
    }
}

/// The client has gone, or has used up its time.
void MessageReceiver::End()
{
    Read();
    if (stage == Stage::Length) {
        qWarning("QtLocalPeer: Peer disconnected");
    } else if (stage == Stage::Text) {
        Acknowledge();
    }
    Finish();
}

void MessageReceiver::Finish()
{
    timer.stop();
    if (stage != Stage::Finished) {
        stage = Stage::Finished;
        Q_EMIT finished();
    }
}

} // namespace QtLP_Private

#include "messagereceiver.h"

#include <QDataStream>

#include <algorithm>
#include <chrono>

namespace QtLP_Private
{

namespace
{

using namespace std::chrono_literals;

constexpr auto textPatience = 2000ms;    ///< For the next piece of a text: its sender writes it in one go.
constexpr auto goodbyePatience = 1000ms; ///< For the client to read the answer and close.

// Texts are command lines and addresses. Longer claims come from a broken or hostile client.
constexpr quint32 maxTextLength = 16 * 1024 * 1024;

// For the texts of all clients that are still speaking.
constexpr qint64 maxBytesHeld = Q_INT64_C(64) * 1024 * 1024;

// Bounds what lies unread, whatever a client sends.
constexpr qint64 socketBufferSize = Q_INT64_C(64) * 1024;

} // namespace

MessageReceiver::MessageReceiver(QLocalSocket* socket_, qint64& bytesHeld_, QObject* parent)
    : QObject(parent)
    , socket(socket_)
    , bytesHeld(bytesHeld_)
{
    socket->setParent(this);
    socket->setReadBufferSize(socketBufferSize);
    connect(socket, &QLocalSocket::readyRead, this, &MessageReceiver::OnReadyRead);
    connect(socket, &QLocalSocket::disconnected, this, &MessageReceiver::OnDisconnected);
    patience.setSingleShot(true);
    connect(&patience, &QTimer::timeout, this, &MessageReceiver::OnTimeout);
    silence.start();
    // The client may have spoken or gone before the socket was handed over.
    QMetaObject::invokeMethod(
        this,
        [this] {
            OnReadyRead();
            if (socket->state() == QLocalSocket::UnconnectedState) {
                OnDisconnected();
            }
        },
        Qt::QueuedConnection);
}

MessageReceiver::~MessageReceiver()
{
    // A finished one holds nothing, and may die after the counter of its peer.
    if (!text.isEmpty()) {
        Forget();
    }
}

qint64 MessageReceiver::GetSilence() const
{
    return stage == Stage::Length ? silence.elapsed() : 0;
}

void MessageReceiver::Dismiss()
{
    if (stage == Stage::Length) {
        qWarning("QtLocalPeer: Peer disconnected");
        Finish();
    }
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
    switch (stage) {
    case Stage::Length:
        Dismiss();
        break;
    case Stage::Text:
        CompleteText();
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
    if (stage == Stage::Text) {
        CompleteText();
    } else if (stage == Stage::Goodbye) {
        Finish();
    }
}

void MessageReceiver::ReadLength()
{
    if (socket->bytesAvailable() < static_cast<qint64>(sizeof(length))) {
        silence.restart();
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
    // The buffer grows with what comes, not with what was announced.
    while (text.size() < length && socket->bytesAvailable() > 0) {
        const qint64 missing = length - text.size();
        const QByteArray piece = socket->read(std::min(missing, socketBufferSize));
        if (piece.isEmpty()) {
            Fail(socket->errorString());
            return;
        }
        text += piece;
        bytesHeld += piece.size();
        if (bytesHeld > maxBytesHeld) {
            Fail(QStringLiteral("too many long texts at once"));
            return;
        }
    }
    if (text.size() == length) {
        CompleteText();
    } else {
        patience.start(textPatience);
    }
}

/// A text that was cut off is not told apart from a whole one: what is missing reads as zero bytes.
void MessageReceiver::CompleteText()
{
    const qsizetype missing = static_cast<qsizetype>(length) - text.size();
    message = QString::fromUtf8(text + QByteArray(missing, '\0'));
    Forget();
    stage = Stage::Goodbye;
    if (socket->state() != QLocalSocket::ConnectedState) {
        Finish();
        return;
    }
    patience.start(goodbyePatience);
    socket->write(acknowledgement, acknowledgementSize);
    socket->flush();
}

void MessageReceiver::Fail(const QString& reason)
{
    qWarning("QtLocalPeer: Message reception failed %s", reason.toLatin1().constData());
    Finish();
}

void MessageReceiver::Finish()
{
    stage = Stage::Finished;
    patience.stop();
    socket->disconnect(this);
    Forget();
    Q_EMIT finished(this);
}

void MessageReceiver::Forget()
{
    bytesHeld -= text.size();
    text.clear();
}

} // namespace QtLP_Private

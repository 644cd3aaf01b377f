#include "messagereceiver.h"

#include <QDataStream>
#include <QPointer>

#include <algorithm>
#include <chrono>
#include <utility>

namespace QtLP_Private
{

namespace
{

using namespace std::chrono_literals;

constexpr auto textPatience = 2000ms;    ///< For the next piece of a text: its sender writes it in one go.
constexpr auto goodbyePatience = 1000ms; ///< For the client to read the answer and close.

// Texts are command lines and addresses. Longer claims come from a broken or hostile client.
constexpr quint32 maxTextLength = 16 * 1024 * 1024;

// Shorter texts are taken from any number of clients. All longer ones together may have so many bytes, from
// the claim until the text is delivered, so that the memory of clients that claim much and say little is
// bounded.
constexpr quint32 longText = 64 * 1024;
constexpr qint64 maxLongTexts = Q_INT64_C(32) * 1024 * 1024;

// What is granted to a client before it has to make place for one that waits. A sender writes all right after
// it has connected, but a busy machine may hold it up.
constexpr qint64 grantedSilence = 250;
constexpr qint64 grantedText = 10000;

} // namespace

MessageReceiver::MessageReceiver(QLocalSocket* socket_, qint64& longTexts_, QObject* parent)
    : QObject(parent)
    , socket(socket_)
    , longTexts(longTexts_)
{
    socket->setParent(this);
    socket->setReadBufferSize(socketBufferSize);
    // Queued, so that neither socket nor timer is in the middle of a signal when a slot of `received` deletes
    // them.
    connect(socket, &QLocalSocket::readyRead, this, &MessageReceiver::OnReadyRead, Qt::QueuedConnection);
    connect(socket, &QLocalSocket::disconnected, this, &MessageReceiver::OnDisconnected,
            Qt::QueuedConnection);
    patience.setSingleShot(true);
    connect(&patience, &QTimer::timeout, this, &MessageReceiver::OnTimeout, Qt::QueuedConnection);
    age.start();
    // The client may have spoken or gone before the socket was handed over.
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (socket->state() == QLocalSocket::UnconnectedState) {
                OnDisconnected();
            } else {
                OnReadyRead();
            }
        },
        Qt::QueuedConnection);
}

MessageReceiver::~MessageReceiver()
{
    // A finished one has nothing to give back, and may die after the counter of its peer.
    GiveBack();
}

bool MessageReceiver::IsOverdue()
{
    if (stage == Stage::Length) {
        return age.hasExpired(grantedSilence) && !HasArrived(sizeof(length));
    }
    return stage == Stage::Text && age.hasExpired(grantedText);
}

/// Looks into the system, too: a thread that was busy may not have got to what came long since. For that
/// it takes a millisecond: without any time Windows may tell of something else than the data.
bool MessageReceiver::HasArrived(qint64 bytes)
{
    return socket->bytesAvailable() >= bytes ||
           (socket->waitForReadyRead(1) && socket->bytesAvailable() >= bytes);
}

void MessageReceiver::Dismiss()
{
    if (stage == Stage::Length) {
        qWarning("QtLocalPeer: Peer disconnected");
        Finish();
    } else if (stage == Stage::Text) {
        Fail(QStringLiteral("it takes too long"));
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
    const QPointer<MessageReceiver> self = this;
    OnReadyRead();
    if (self.isNull()) {
        return;
    }
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
    if (patience.isActive()) {
        return; // It was started again while its signal was on the way.
    }
    if (stage == Stage::Text) {
        if (HasArrived(1)) {
            ReadText();
        } else {
            CompleteText();
        }
    } else if (stage == Stage::Goodbye) {
        Finish();
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
    if (length > longText) {
        if (longTexts + length > maxLongTexts) {
            Fail(QStringLiteral("too many long texts at once"));
            return;
        }
        promised = length;
        longTexts += promised;
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
    text.resize(static_cast<qsizetype>(length), '\0');
    const QString message = QString::fromUtf8(text);
    text = QByteArray();
    GiveBack();
    stage = Stage::Goodbye;
    if (socket->state() == QLocalSocket::ConnectedState) {
        patience.start(goodbyePatience);
        socket->write(acknowledgement, acknowledgementSize);
        socket->flush();
    } else {
        Finish();
    }
    // Right behind the answer, so that no text is lost whose sender was told that it arrived.
    Q_EMIT received(message);
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
    text = QByteArray();
    GiveBack();
    Q_EMIT finished(this);
}

void MessageReceiver::GiveBack()
{
    if (promised > 0) {
        longTexts -= std::exchange(promised, 0);
    }
}

} // namespace QtLP_Private

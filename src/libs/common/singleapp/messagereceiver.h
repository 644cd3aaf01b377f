#pragma once

#include <QByteArray>
#include <QLocalSocket>
#include <QObject>
#include <QTimer>

#include <optional>

namespace QtLP_Private
{

/// The reply to a message.
constexpr char acknowledgement[] = "ack";

/**
 * Receives one message from one client of the local server and acknowledges it, without blocking.
 *
 * Emits `finished` exactly once: when the client has gone, or when it has used up its time.
 */
class MessageReceiver : public QObject
{
    Q_OBJECT

public:
    MessageReceiver(QLocalSocket* socket, QObject* parent); ///< Takes ownership of the socket.

    void Start();

    /// Returns the message, or nothing if it has not been received. Kept for compatibility: a message that
    /// was cut off counts as received; what is missing reads as zero bytes.
    std::optional<QString> TakeMessage();

Q_SIGNALS:
    /// @warning Emitted from inside the socket: delete the receiver later.
    void finished();

private:
    enum class Stage
    {
        Length,
        Text,
        Goodbye, ///< The message is acknowledged, the client should close the connection.
        Finished
    };

    void Read();
    void Acknowledge();
    void OnTimeout();
    void End();
    void Finish();

    QLocalSocket* socket;
    QTimer timer{this};
    Stage stage = Stage::Length;
    quint32 length = 0;
    QByteArray text;
    bool acknowledged = false;
};

} // namespace QtLP_Private

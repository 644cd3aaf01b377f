#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QLocalSocket>
#include <QObject>
#include <QTimer>

#include <optional>

namespace QtLP_Private
{

/// What both ends of the socket agree on: the answer to a text.
constexpr char acknowledgement[] = "ack";
constexpr int acknowledgementSize = sizeof(acknowledgement) - 1;

/**
 * Takes one text from one client of the local server and tells the client so, without ever blocking.
 *
 * Ends with exactly one `finished`.
 */
class MessageReceiver : public QObject
{
    Q_OBJECT

public:
    /**
     * Takes the socket as a child. The work begins with the next turn of the event loop.
     *
     * @param bytesHeld what all receivers together hold of texts that are not complete; outlives the receiver
     */
    MessageReceiver(QLocalSocket* socket, qint64& bytesHeld, QObject* parent);
    ~MessageReceiver() override;

    /// What the client said, once finished; nothing if it failed or said too little.
    const std::optional<QString>& GetMessage() const { return message; }

    /// How long the client has been expected to tell a length; 0 if it did. In milliseconds.
    qint64 GetSilence() const;

    /// Lets a client go that has said too little.
    void Dismiss();

Q_SIGNALS:
    void finished(QtLP_Private::MessageReceiver* self);

private:
    enum class Stage
    {
        Length,
        Text,
        Goodbye, ///< The text is answered, the client should close the connection.
        Finished
    };

    void OnReadyRead();
    void OnDisconnected();
    void OnTimeout();

    void ReadLength();
    void ReadText();
    void CompleteText();
    void Fail(const QString& reason);
    void Finish();

    void Forget();

    QLocalSocket* socket;
    qint64& bytesHeld;
    QTimer patience;
    QElapsedTimer silence;
    Stage stage = Stage::Length;
    quint32 length = 0;
    QByteArray text;
    std::optional<QString> message;
};

} // namespace QtLP_Private

#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QLocalSocket>
#include <QObject>
#include <QTimer>

namespace QtLP_Private
{

/// What both ends of the socket agree on: the answer to a text.
constexpr char acknowledgement[] = "ack";
constexpr int acknowledgementSize = sizeof(acknowledgement) - 1;

/// Bounds what lies unread of a client, in bytes, whatever it sends.
constexpr qint64 socketBufferSize = Q_INT64_C(64) * 1024;

/**
 * Takes one text from one client of the local server and tells the client so. Does not wait for the client.
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
     * @param longTexts how many bytes of long texts all receivers together were promised; outlives the
     * receiver
     */
    MessageReceiver(QLocalSocket* socket, qint64& longTexts, QObject* parent);
    ~MessageReceiver() override;

    /// Whether the client had its time and still speaks or says nothing: it may have to go when others wait.
    bool IsOverdue();

    /// Ends with a failure, whatever the client has said so far.
    void Dismiss();

Q_SIGNALS:
    /// What the client said; it has been told that it arrived. A slot may delete the receiver.
    void received(const QString& message);
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

    bool HasArrived(qint64 bytes);
    void ReadLength();
    void ReadText();
    void CompleteText();
    void Fail(const QString& reason);
    void Finish();
    void GiveBack();

    QLocalSocket* socket;
    qint64& longTexts;
    qint64 promised = 0; ///< The part of this receiver in it.
    QTimer patience{this};
    QElapsedTimer age;
    Stage stage = Stage::Length;
    quint32 length = 0;
    QByteArray text;
};

} // namespace QtLP_Private

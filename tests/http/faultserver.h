#pragma once

#include <QByteArray>
#include <QList>
#include <QTcpServer>
#include <QUrl>

class QTcpSocket;

/// What the server does on one connection.
struct Answer
{
    enum Ending
    {
        Close,
        Reset, ///< Without a good-bye.
        Hang   ///< Never.
    };

    QByteArray bytes; ///< Sent as they stand, once the request is there whole.
    Ending ending = Close;
    int interval = 0;  ///< Milliseconds between two pieces of the body; 0 to send all at once.
    int piece = 1;     ///< Bytes in a piece.
    bool reads = true; ///< False to end before anything of the request is read.
};

/// A response with "Connection: close" and its length, to be spoilt as needed.
QByteArray Response(const QByteArray& status, const QByteArray& body,
                    const QByteArray& headers = QByteArray());

/// A server on the loopback that misbehaves as told, a connection at a time; the last answer repeats.
class FaultServer : public QTcpServer
{
    Q_OBJECT

public:
    explicit FaultServer(const QList<Answer>& answers_ = {});

    QUrl Url(const QString& path = QStringLiteral("/")) const;
    const QList<QByteArray>& Requests() const { return requests; } ///< As they came, whole ones only.
    int Connections() const { return connections; }
    int OpenConnections() const { return openConnections; }

private:
    void OnNewConnection();
    void Receive(QTcpSocket* socket, const Answer& answer);
    void Play(QTcpSocket* socket, const Answer& answer);
    static void End(QTcpSocket* socket, Answer::Ending ending);

    QList<Answer> answers;
    QList<QByteArray> requests;
    int connections = 0;
    int openConnections = 0;
};

#pragma once

#include <QByteArray>
#include <QList>
#include <QTcpServer>
#include <QUrl>

/// What the server does on one connection when the request is complete.
struct Answer
{
    enum Ending
    {
        Close,
        Hang ///< Never.
    };

    QByteArray bytes; ///< Sent verbatim.
    Ending ending = Close;
    int interval = 0; ///< Milliseconds between two bytes of the body; 0 to send all at once.
};

/// Returns a correct response with "Connection: close" and its length, which a test can then corrupt.
QByteArray Response(const QByteArray& status, const QByteArray& body,
                    const QByteArray& headers = QByteArray());

/// A server on the loopback that misbehaves as configured, one connection at a time; the last answer repeats.
class FaultServer : public QTcpServer
{
public:
    explicit FaultServer(const QList<Answer>& answers_ = {});

    QUrl Url(const QString& path = QStringLiteral("/")) const;

    QList<QByteArray> requests; ///< Complete requests as received, apart from the case of header names.
    int openConnections = 0;

private:
    void Receive(QTcpSocket* socket, const Answer& answer);

    QList<Answer> answers;
};

#pragma once

#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QUrl>

/// The server's reaction to one complete request.
struct Answer
{
    enum Ending
    {
        Close,
        Hang
    };

    QByteArray bytes; ///< Sent verbatim.
    Ending ending = Close;
    int interval = 0; ///< Milliseconds between two bytes of the body; 0 to send all at once.
};

/// Returns a correct response with the headers "Connection: close" and "Content-Length". A test may then
/// corrupt the response.
inline QByteArray Response(const QByteArray& status, const QByteArray& body,
                           const QByteArray& headers = QByteArray())
{
    return "HTTP/1.1 " + status +
           "\r\nConnection: close\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n" + headers +
           "\r\n" + body;
}

/// A local server that sends the configured responses, one per connection, and repeats the last one.
class FaultServer : public QTcpServer
{
public:
    explicit FaultServer(const QList<Answer>& answers_ = {})
        : answers(answers_)
    {
        connect(this, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* const socket = nextPendingConnection()) {
                Receive(socket, answers.size() > 1 ? answers.takeFirst() : answers.value(0));
            }
        });
        listen(QHostAddress::LocalHost);
    }

    QUrl Url(const QString& path = "/") const
    {
        return QUrl(QString("http://127.0.0.1:%1%2").arg(serverPort()).arg(path));
    }

    qsizetype OpenConnections() const { return findChildren<QTcpSocket*>().size(); }

    QList<QByteArray> requests; ///< Complete requests, verbatim apart from the case of header names.

private:
    void Receive(QTcpSocket* socket, const Answer& answer)
    {
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QTcpSocket::readyRead, this, [=] {
            if (IsWhole(socket->peek(socket->bytesAvailable()))) {
                requests += WithUsualNames(socket->readAll());
                Play(socket, answer);
            }
        });
    }

    /// Returns whether `request` contains all its headers and the complete body.
    static bool IsWhole(const QByteArray& request)
    {
        static const QRegularExpression field("\nContent-Length: (\\d+)",
                                              QRegularExpression::CaseInsensitiveOption);
        const qsizetype headEnd = request.indexOf("\r\n\r\n");
        const QString head = QString::fromLatin1(request.left(headEnd));
        return headEnd > 0 && request.size() >= headEnd + 4 + field.match(head).captured(1).toLongLong();
    }

    /// Returns the request with header names in their usual case; Qt 6.8 sends them in lower case.
    static QByteArray WithUsualNames(QByteArray request)
    {
        for (const char* name :
             {"Accept-Encoding", "Content-Disposition", "Content-Length", "Content-Type", "X-One"}) {
            request.replace(QByteArray(name).toLower(), name);
        }
        return request;
    }

    static void Play(QTcpSocket* socket, const Answer& answer, qsizetype sent = 0)
    {
        const qsizetype end = answer.interval == 0 ? answer.bytes.size()
                              : sent == 0          ? answer.bytes.indexOf("\r\n\r\n") + 4
                                                   : sent + 1;
        socket->write(answer.bytes.mid(sent, end - sent));
        if (end < answer.bytes.size()) {
            QTimer::singleShot(answer.interval, socket, [=] { Play(socket, answer, end); });
        } else if (answer.ending == Answer::Close) {
            socket->disconnectFromHost();
        }
    }

    QList<Answer> answers;
};

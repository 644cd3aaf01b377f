#include "faultserver.h"

#include <QRegularExpression>
#include <QTcpSocket>
#include <QTimer>

namespace
{

/// Returns whether `request` has its headers and as much body as they announce.
bool IsWhole(const QByteArray& request)
{
    static const QRegularExpression field("\nContent-Length: (\\d+)",
                                          QRegularExpression::CaseInsensitiveOption);
    const qsizetype headEnd = request.indexOf("\r\n\r\n");
    const QString head = QString::fromLatin1(request.left(headEnd));
    return headEnd > 0 && request.size() >= headEnd + 4 + field.match(head).captured(1).toLongLong();
}

/// Returns the request with header names in their usual case; Qt 6.8 sends them in lower case.
QByteArray WithUsualNames(QByteArray request)
{
    for (const char* name : {"Accept-Encoding", "Content-Disposition", "Content-Length", "Content-Type"}) {
        request.replace(QByteArray(name).toLower(), name);
    }
    return request;
}

void Play(QTcpSocket* socket, const Answer& answer, qsizetype sent = 0)
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

} // namespace

QByteArray Response(const QByteArray& status, const QByteArray& body, const QByteArray& headers)
{
    const QByteArray length = QByteArray::number(body.size());
    return "HTTP/1.1 " + status + "\r\nConnection: close\r\nContent-Length: " + length + "\r\n" + headers +
           "\r\n" + body;
}

FaultServer::FaultServer(const QList<Answer>& answers_)
    : answers(answers_)
{
    connect(this, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket* const socket = nextPendingConnection()) {
            Receive(socket, answers.size() > 1 ? answers.takeFirst() : answers.value(0));
        }
    });
    listen(QHostAddress::LocalHost);
}

QUrl FaultServer::Url(const QString& path) const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(serverPort()).arg(path));
}

void FaultServer::Receive(QTcpSocket* socket, const Answer& answer)
{
    ++openConnections;
    connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
        --openConnections;
        socket->deleteLater();
    });
    const auto read = [=] {
        if (IsWhole(socket->peek(socket->bytesAvailable()))) {
            requests += WithUsualNames(socket->readAll());
            Play(socket, answer);
        }
    };
    connect(socket, &QTcpSocket::readyRead, this, read);
    read();
}

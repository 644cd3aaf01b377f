#include "faultserver.h"

#include <QTcpSocket>
#include <QTimer>

#include <memory>

namespace
{

/// Whether `request` holds its head and as much body as the head says.
bool IsWhole(const QByteArray& request)
{
    const qsizetype headEnd = request.indexOf("\r\n\r\n");
    const QByteArray name = "\ncontent-length: ";
    const qsizetype field = request.left(headEnd).toLower().indexOf(name);
    const qsizetype value = field + name.size();
    const qint64 length =
        field < 0 ? 0 : request.mid(value, request.indexOf('\r', value) - value).toLongLong();
    return headEnd > 0 && request.size() >= headEnd + 4 + length;
}

void End(QTcpSocket* socket, Answer::Ending ending)
{
    if (ending == Answer::Close) {
        socket->disconnectFromHost();
    } else if (ending == Answer::Reset) {
        socket->abort();
    }
}

void Play(QTcpSocket* socket, const Answer& answer)
{
    if (answer.interval == 0) {
        socket->write(answer.bytes);
        // A reset must not overtake what was written.
        socket->waitForBytesWritten();
        End(socket, answer.ending);
        return;
    }
    auto* timer = new QTimer(socket);
    const qsizetype headSize = answer.bytes.indexOf("\r\n\r\n") + 4;
    socket->write(answer.bytes.left(headSize));
    QObject::connect(timer, &QTimer::timeout, socket, [=, rest = answer.bytes.mid(headSize)]() mutable {
        socket->write(rest.left(1));
        rest.remove(0, 1);
        if (rest.isEmpty()) {
            timer->stop();
            End(socket, answer.ending);
        }
    });
    timer->start(answer.interval);
}

} // namespace

QByteArray Response(const QByteArray& status, const QByteArray& body, const QByteArray& headers)
{
    return "HTTP/1.1 " + status +
           "\r\nConnection: close\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n" + headers +
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
    ++connections;
    ++openConnections;
    connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
        --openConnections;
        socket->deleteLater();
    });
    const auto request = std::make_shared<QByteArray>();
    const auto read = [=] {
        if (!IsWhole(*request)) {
            *request += socket->readAll();
            if (IsWhole(*request)) {
                requests += *request;
                Play(socket, answer);
            }
        }
    };
    connect(socket, &QTcpSocket::readyRead, this, read);
    read();
}

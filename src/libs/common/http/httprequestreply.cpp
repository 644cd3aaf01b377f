// Handles replies from their first signal to their deletion, and retries.

#include "httprequestprivate.h"

#include <common/tools/qcompressor.h>

#include <QMetaEnum>
#include <QThread>

#include <utility>

namespace common::http
{

namespace
{

constexpr int tooManyRequests = 429; // RFC 6585; Qt has no error code for it.

/// Returns the name of an error code, for the log.
QLatin1String NameOf(int error)
{
    const char* const name = QMetaEnum::fromType<QNetworkReply::NetworkError>().valueToKey(error);
    return QLatin1String(name != nullptr ? name : "UnknownError");
}

bool IsNetworkProblem(int error)
{
    return (error >= QNetworkReply::ConnectionRefusedError &&
            error <= QNetworkReply::BackgroundRequestNotAllowedError) ||
           error == QNetworkReply::UnknownNetworkError;
}

bool IsProxyProblem(int error)
{
    return (error >= QNetworkReply::ProxyConnectionRefusedError &&
            error <= QNetworkReply::ProxyAuthenticationRequiredError) ||
           error == QNetworkReply::UnknownProxyError;
}

} // namespace

/**
 * Exists while a slot of the request handles a signal of the reply.
 *
 * Qt still uses a reply after emitting a signal. If the request drops the reply during the slot, the
 * outermost Delivery schedules the deletion. The request cannot call deleteLater when it drops the reply: in
 * an event loop nested in the slot, deleteLater would delete the reply inside that loop.
 */
class HttpRequest::Delivery
{
public:
    explicit Delivery(HttpRequest* request_)
        : request(request_)
        , reply(request_->d->reply)
    {}
    ~Delivery()
    {
        if (reply.use_count() > 1 || reply->isNull()) {
            return;
        }
        if (QThread::currentThread()->loopLevel() > 0) {
            (*reply)->deleteLater();
        } else {
            // Without exec(), as with processEvents() alone, deleteLater would never delete the reply.
            QMetaObject::invokeMethod(
                *reply, [dropped = reply->data()] { delete dropped; }, Qt::QueuedConnection);
        }
    }

    /// Returns whether the reply must emit nothing more because a slot has sent or deleted the request.
    bool IsOver() const { return request.isNull() || reply->isNull() || request->d->reply != reply; }

private:
    Q_DISABLE_COPY(Delivery)

    const QPointer<HttpRequest> request;
    const std::shared_ptr<const QPointer<QNetworkReply>> reply;
};

QNetworkReply* HttpRequest::Reply() const
{
    return d->reply != nullptr ? d->reply->data() : nullptr;
}

bool HttpRequest::isRunning() const
{
    return Reply() != nullptr && Reply()->isRunning();
}

/// Qt calls slots in the order of connection, and callers rely on this order.
void HttpRequest::TakeReply(QNetworkReply* reply)
{
    d->reply = std::make_shared<const QPointer<QNetworkReply>>(reply);
    if (GetTimeout() > 0) {
        auto* watchdog = new QTimer(reply);
        connect(watchdog, &QTimer::timeout, this, &HttpRequest::OnRequestTimeout);
        connect(this, &HttpRequest::progress, watchdog, qOverload<>(&QTimer::start));
        connect(reply, &QNetworkReply::finished, watchdog, &QTimer::stop);
        watchdog->setSingleShot(true);
        watchdog->setInterval(ToMilliseconds(GetTimeout()));
        watchdog->start();
    }
    connect(reply, &QNetworkReply::finished, this, [this, reply] {
        const Delivery delivery(this);
        Q_EMIT replyFinished(reply);
    });
    connect(reply, &QNetworkReply::finished, this, &HttpRequest::OnRequestFinished);
    connect(reply, &QNetworkReply::sslErrors, this, &HttpRequest::OnSslErrors);
    connect(reply, &QNetworkReply::downloadProgress, this, [this](qint64 received, qint64 total) {
        const Delivery delivery(this);
        Q_EMIT downloadProgress(received, total);
    });
    connect(reply, &QNetworkReply::uploadProgress, this, [this](qint64 sent, qint64 total) {
        const Delivery delivery(this);
        Q_EMIT uploadProgress(sent, total);
    });
    const auto emitProgress = [this] {
        const Delivery delivery(this);
        Q_EMIT progress();
    };
    connect(reply, &QNetworkReply::downloadProgress, this, emitProgress);
    connect(reply, &QNetworkReply::uploadProgress, this, emitProgress);
}

/// Detaches the request from the current reply and its watchdog.
void HttpRequest::CutOffReply()
{
    disconnect(Reply(), nullptr, this, nullptr);
    for (const QObject* child : Reply()->children()) {
        disconnect(child, nullptr, this, nullptr);
    }
}

void HttpRequest::DropReply()
{
    if (Reply() == nullptr) {
        return;
    }
    CutOffReply();
    // Clear the reply first: slots of the caller that run during abort() must not find it.
    const auto dropped = std::exchange(d->reply, nullptr);
    if ((*dropped)->isRunning()) {
        (*dropped)->abort();
    }
    if (dropped.use_count() == 1) {
        delete dropped->data();
    }
}

void HttpRequest::OnRequestFinished()
{
    auto* const finished = qobject_cast<QNetworkReply*>(sender());
    if (Reply() != finished) {
        LOG_MESSAGE(logger::Crit) << LogPrefix() << "Cannot process unknown QNetworkReply";
        return;
    }
    if (finished == nullptr) {
        LOG_MESSAGE(logger::Error) << LogPrefix() << "Cannot process QNetworkReply = NULL";
        return;
    }
    const int error = finished->error();
    const QString description = finished->errorString();
    const int status = finished->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const QString reason = finished->attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString();
    const QString accepted =
        QStringLiteral("Accepted reply from server: %1/%2; URL='%3', attempt='%4'.")
            .arg(QString::number(status), reason, finished->url().toString(), QString::number(d->attempt));
    const Delivery delivery(this);
    if (status == tooManyRequests) {
        LOG_MESSAGE(logger::Debug) << LogPrefix() << accepted;
        Q_EMIT requestError(tooManyRequests, description, QByteArray());
        if (delivery.IsOver() || AskRetryIfPossible()) {
            return;
        }
        // Kept for compatibility: the last attempt also emits requestError with the error of the reply.
    }
    const QByteArray body = ReadBody();
    if (error != QNetworkReply::NoError) {
        LOG_MESSAGE(logger::Error)
            << LogPrefix()
            << QStringLiteral("Accepted reply from server: %1/%2;    %3 (%4), URL='%5', attempt='%6'.")
                   .arg(QString::number(status), reason, NameOf(error), description,
                        finished->url().toString(), QString::number(d->attempt));
        FinishWithError(error, description, body);
        return;
    }
    LOG_MESSAGE(logger::Debug) << LogPrefix() << accepted;
    Q_EMIT requestFinishedWithBinaryData(body);
    if (!delivery.IsOver()) {
        Q_EMIT requestFinished(QString::fromUtf8(body));
    }
}

void HttpRequest::FinishWithError(int error, const QString& description, const QByteArray& body)
{
    if (IsNetworkProblem(error) && AskRetryIfPossible()) {
        return;
    }
    const Delivery delivery(this);
    if (IsProxyProblem(error)) {
        Q_EMIT proxyError(error, description);
    } else if (error == QNetworkReply::ProtocolInvalidOperationError) {
        Q_EMIT invalidOperationError(error, description);
    }
    if (!delivery.IsOver()) {
        Q_EMIT requestError(error, description, body);
    }
}

QByteArray HttpRequest::ReadBody()
{
    // A reply that a caller has aborted or closed is not readable.
    QByteArray body = Reply()->isReadable() ? Reply()->readAll() : QByteArray();
    // Kept for compatibility: decodes only the exact value "gzip", not "GZIP" or a list of codings.
    if (Reply()->rawHeader("Content-Encoding") == "gzip") {
        QByteArray decoded;
        if (tools::QCompressor::gzipDecompress(body, decoded)) {
            return decoded;
        }
        LOG_MESSAGE(logger::Warn) << LogPrefix() << "Failed to decompress gzip, using uncompressed data!";
    }
    return body;
}

void HttpRequest::OnRequestTimeout()
{
    LOG_MESSAGE(logger::Error) << LogPrefix()
                               << QStringLiteral("Request to URL='%1' timed out! attempt='%2'.")
                                      .arg(GetUrl().toString(), QString::number(d->attempt));
    // Abort deletes the reply and its child, the watchdog that emitted this signal. QTimer allows that.
    const QPointer<HttpRequest> self = this;
    Abort();
    if (self.isNull() || AskRetryIfPossible()) {
        return;
    }
    Q_EMIT requestError(QNetworkReply::TimeoutError, QStringLiteral("Request timed out"), QByteArray());
}

void HttpRequest::OnSslErrors(const QList<QSslError>& /*errors*/)
{
    if (!d->ignoreSslErrors) {
        return;
    }
    LOG_MESSAGE(logger::Warn) << LogPrefix() << "Ignoring SSL errors!";
    if (auto* failing = qobject_cast<QNetworkReply*>(sender())) {
        failing->ignoreSslErrors();
    }
}

bool HttpRequest::AskRetryIfPossible()
{
    if (d->attempt + 1 >= d->attemptCount) {
        LOG_MESSAGE(logger::Debug) << LogPrefix()
                                   << "Cannot retry request. The attempt count reached maximum.";
        return false;
    }
    if (d->resendTimer.isNull()) {
        LOG_MESSAGE(logger::Error) << LogPrefix() << "Cannot retry request. Resend timer is NULL.";
        return false;
    }
    LOG_MESSAGE(logger::Debug)
        << LogPrefix()
        << QStringLiteral("The next request attempt will be taken in '%1' seconds.").arg(d->attemptInterval);
    d->resendTimer->start();
    return true;
}

void HttpRequest::Resend()
{
    ++d->attempt;
    SendRequest(d->method);
}

void HttpRequest::Abort()
{
    const QPointer<HttpRequest> self = this;
    if (isRunning()) {
        DropReply();
    }
    if (!self.isNull() && !d->resendTimer.isNull() && d->resendTimer->isActive()) {
        d->resendTimer->stop();
    }
}

} // namespace common::http

// The second half of HttpRequest: what happens once a reply is there.

#include <common/http/httprequest.h>

#include <common/logger/logger.h>
#include <common/tools/qcompressor.h>

#include <algorithm>
#include <iterator>

namespace common::http
{

namespace
{

constexpr logger::Channel logChannel{"http.request"};

constexpr int tooManyRequests = 429; // RFC 6585; Qt has no error code of its own for it.

struct ErrorName
{
    int error;
    const char* name;
};

constexpr ErrorName errorNames[] = {{0, "NoError"},
                                    {1, "ConnectionRefusedError"},
                                    {2, "RemoteHostClosedError"},
                                    {3, "HostNotFoundError"},
                                    {4, "TimeoutError"},
                                    {5, "OperationCanceledError"},
                                    {6, "SslHandshakeFailedError"},
                                    {7, "TemporaryNetworkFailureError"},
                                    {8, "NetworkSessionFailedError"},
                                    {9, "BackgroundRequestNotAllowedError"},
                                    {10, "TooManyRedirectsError"},
                                    {11, "InsecureRedirectError"},
                                    {99, "UnknownNetworkError"},
                                    {101, "ProxyConnectionRefusedError"},
                                    {102, "ProxyConnectionClosedError"},
                                    {103, "ProxyNotFoundError"},
                                    {104, "ProxyTimeoutError"},
                                    {105, "ProxyAuthenticationRequiredError"},
                                    {199, "UnknownProxyError"},
                                    {201, "ContentAccessDenied"},
                                    {202, "ContentOperationNotPermittedError"},
                                    {203, "ContentNotFoundError"},
                                    {204, "AuthenticationRequiredError"},
                                    {205, "ContentReSendError"},
                                    {206, "ContentConflictError"},
                                    {207, "ContentGoneError"},
                                    {299, "UnknownContentError"},
                                    {301, "ProtocolUnknownError"},
                                    {302, "ProtocolInvalidOperationError"},
                                    {399, "ProtocolFailure"},
                                    {401, "InternalServerError"},
                                    {402, "OperationNotImplementedError"},
                                    {403, "ServiceUnavailableError"},
                                    {499, "UnknownServerError"}};

/// For the log only.
QLatin1String NameOf(int error)
{
    const auto* found = std::find_if(std::begin(errorNames), std::end(errorNames),
                                     [error](const ErrorName& entry) { return entry.error == error; });
    return QLatin1String(found != std::end(errorNames) ? found->name : "UnknownError");
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

void HttpRequest::OnRequestFinished()
{
    auto* const finished = qobject_cast<QNetworkReply*>(sender());
    if (reply != finished) {
        LOG_MESSAGE(logger::Crit) << LogPrefix() << "Cannot process unknown QNetworkReply";
        return;
    }
    if (finished == nullptr) {
        LOG_MESSAGE(logger::Error) << LogPrefix() << "Cannot process QNetworkReply = NULL";
        return;
    }
    Finish();
}

/// A receiver of any signal may send the request again or delete it. The finished reply then is none of ours
/// any more, and tells nothing more.
void HttpRequest::Finish()
{
    const QPointer<HttpRequest> self = this;
    const QPointer<QNetworkReply> finished = reply;
    const auto isOver = [&] { return self.isNull() || finished.isNull() || reply != finished; };

    const int error = finished->error();
    const QString description = finished->errorString();
    const int status = finished->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const QString reason = finished->attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString();
    const QString accepted =
        QStringLiteral("Accepted reply from server: %1/%2; URL='%3', attempt='%4'.")
            .arg(QString::number(status), reason, finished->url().toString(), QString::number(attempt));
    if (status == tooManyRequests) {
        LOG_MESSAGE(logger::Debug) << LogPrefix() << accepted;
        Q_EMIT requestError(tooManyRequests, description, QByteArray());
        if (isOver() || AskRetryIfPossible()) {
            return;
        }
        // The last try goes the ordinary way as well, so it is told twice; this is meant.
    }

    const QByteArray body = ReadBody();
    if (error == QNetworkReply::NoError) {
        LOG_MESSAGE(logger::Debug) << LogPrefix() << accepted;
        Q_EMIT requestFinishedWithBinaryData(body);
        if (!isOver()) {
            Q_EMIT requestFinished(QString::fromUtf8(body));
        }
        return;
    }

    LOG_MESSAGE(logger::Error)
        << LogPrefix()
        << QStringLiteral("Accepted reply from server: %1/%2;    %3 (%4), URL='%5', attempt='%6'.")
               .arg(QString::number(status), reason, NameOf(error), description, finished->url().toString(),
                    QString::number(attempt));
    if (IsNetworkProblem(error) && AskRetryIfPossible()) {
        return;
    }
    if (IsProxyProblem(error)) {
        Q_EMIT proxyError(error, description);
    } else if (error == QNetworkReply::ProtocolInvalidOperationError) {
        Q_EMIT invalidOperationError(error, description);
    }
    if (!isOver()) {
        Q_EMIT requestError(error, description, body);
    }
}

QByteArray HttpRequest::ReadBody()
{
    QByteArray body = reply->readAll();
    // Only this very value: "GZIP" or a list of codings is left as it is; this is meant.
    if (reply->rawHeader("Content-Encoding") == "gzip") {
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
                                      .arg(GetUrl().toString(), QString::number(attempt));
    // Deletes the reply and with it the watchdog, whose signal this slot hangs on; QTimer allows that.
    const QPointer<HttpRequest> self = this;
    Abort();
    if (self.isNull() || AskRetryIfPossible()) {
        return;
    }
    Q_EMIT requestError(QNetworkReply::TimeoutError, QStringLiteral("Request timed out"), QByteArray());
}

void HttpRequest::OnSslErrors(const QList<QSslError>& /*errors*/)
{
    if (!ignoreSslErrors) {
        return;
    }
    LOG_MESSAGE(logger::Warn) << LogPrefix() << "Ignoring SSL errors!";
    if (auto* failing = qobject_cast<QNetworkReply*>(sender())) {
        failing->ignoreSslErrors();
    }
}

bool HttpRequest::AskRetryIfPossible()
{
    if (attempt + 1 >= attemptCount) {
        LOG_MESSAGE(logger::Debug) << LogPrefix()
                                   << "Cannot retry request. The attempt count reached maximum.";
        return false;
    }
    if (resendTimer.isNull()) {
        LOG_MESSAGE(logger::Error) << LogPrefix() << "Cannot retry request. Resend timer is NULL.";
        return false;
    }
    LOG_MESSAGE(logger::Debug)
        << LogPrefix()
        << QStringLiteral("The next request attempt will be taken in '%1' seconds.").arg(attemptInterval);
    resendTimer->start();
    return true;
}

void HttpRequest::Abort()
{
    const QPointer<HttpRequest> self = this;
    if (isRunning()) {
        DeleteReply();
    }
    if (!self.isNull() && !resendTimer.isNull() && resendTimer->isActive()) {
        resendTimer->stop();
    }
}

} // namespace common::http

#include <common/http/httprequest.h>

#include <common/http/ihttprequestmultipartdata.h>
#include <common/logger/logger.h>

#include "httprequestdata.h"
#include "replyguard.h"

#include <QHashFunctions>
#include <QHttpMultiPart>
#include <QSslConfiguration>

#include <algorithm>
#include <limits>
#include <memory>
#include <utility>

namespace common::http
{

namespace
{

constexpr logger::Channel logChannel{"http.request"};

constexpr int defaultAttemptCount = 1;     // No retry unless the caller asks for one.
constexpr int defaultAttemptInterval = 20; // Seconds.

/// For a QTimer, which takes no negative interval and no more than an int holds (24 days).
int ToMilliseconds(int seconds)
{
    return static_cast<int>(std::clamp<qint64>(qint64{1000} * seconds, 0, std::numeric_limits<int>::max()));
}

} // namespace

IHttpRequest::IHttpRequest()
    : QObject(nullptr)
{}

IHttpRequest::~IHttpRequest() = default;

IHttpRequest* CreateHttpRequest(QNetworkAccessManager* manager, QObject* parent)
{
    return new HttpRequest(manager, parent);
}

HttpRequest::HttpRequest(QNetworkAccessManager* manager_, QObject* parent)
    : manager(manager_)
    , attemptCount(defaultAttemptCount)
    , attemptInterval(defaultAttemptInterval)
    , resendTimer(new QTimer(this))
{
    setParent(parent);
    resendTimer->setInterval(ToMilliseconds(attemptInterval));
    resendTimer->setSingleShot(true);
    connect(resendTimer, &QTimer::timeout, this, &HttpRequest::Resend);
}

HttpRequest::~HttpRequest()
{
    manager = nullptr; // What a slot of the manager sends while the reply is aborted goes nowhere.
    HttpRequest::Abort();
    DeleteReply();
}

void HttpRequest::SetUrl(const QUrl& newUrl)
{
    url = newUrl;
}

QUrl HttpRequest::GetUrl() const
{
    return url;
}

void HttpRequest::SetData(const QSharedPointer<IHttpRequestData>& newData)
{
    data = newData;
}

QSharedPointer<IHttpRequestData> HttpRequest::Data() const
{
    return data;
}

void HttpRequest::SetRawHeader(const QString& name, const QString& value)
{
    rawHeaders.insert(name, value);
}

QString HttpRequest::GetRawHeader(const QString& name) const
{
    return rawHeaders.value(name);
}

void HttpRequest::SetAttribute(QNetworkRequest::Attribute attribute, const QVariant& value)
{
    attributes.insert(attribute, value);
}

QVariant HttpRequest::GetAttribute(QNetworkRequest::Attribute attribute) const
{
    return attributes.value(attribute);
}

void HttpRequest::SetAttemptCountOnNetworkProblem(int count)
{
    attemptCount = count;
}

int HttpRequest::GetAttemptCountOnNetworkProblem() const
{
    return attemptCount;
}

void HttpRequest::SetAttemptIntervalOnNetworkProblem(int seconds)
{
    attemptInterval = seconds;
    if (!resendTimer.isNull()) {
        resendTimer->setInterval(ToMilliseconds(seconds));
    }
}

int HttpRequest::GetAttemptIntervalOnNetworkProblem() const
{
    return attemptInterval;
}

void HttpRequest::SetTimeout(int seconds)
{
    timeout = seconds;
}

int HttpRequest::GetTimeout() const
{
    return timeout;
}

bool HttpRequest::Send(HTTPRequestMethod newMethod)
{
    attempt = 0;
    return SendRequest(newMethod);
}

bool HttpRequest::Post()
{
    return Send(POST);
}

bool HttpRequest::Get()
{
    return Send(GET);
}

bool HttpRequest::isRunning() const
{
    return !reply.isNull() && reply->isRunning();
}

bool HttpRequest::IgnoreSSLErrors() const
{
    return ignoreSslErrors;
}

void HttpRequest::SetIgnoreSSLErrors(bool ignore)
{
    ignoreSslErrors = ignore;
}

void HttpRequest::SetSslCertificate(const QSslCertificate& certificate, const QSslKey& key,
                                    const QList<QSslCertificate>& authorities)
{
    sslCertificate = certificate;
    sslKey = key;
    caCertificates = authorities;
}

QNetworkReply* HttpRequest::Reply() const
{
    return reply;
}

void HttpRequest::Resend()
{
    ++attempt;
    SendRequest(method);
}

bool HttpRequest::SendRequest(HTTPRequestMethod newMethod)
{
    method = newMethod;
    if (QNetworkReply* const earlier = reply) {
        // A slot of the reply itself or of the manager may delete the request, or send it, while the reply is
        // aborted and deleted.
        const QPointer<HttpRequest> self = this;
        CutOffReply();
        Abort();
        if (!self.isNull() && reply == earlier) {
            DeleteReply();
        }
        if (self.isNull()) {
            return false;
        }
        if (!reply.isNull()) {
            return true; // The send of the slot is the newer one.
        }
        method = newMethod; // Where that has failed.
    }
    if (manager.isNull()) {
        LOG_MESSAGE(logger::Crit) << LogPrefix() << "Failed to  SendRequest(): HttpRequestManager is NULL!";
        return false;
    }

    QNetworkReply* newReply = nullptr;
    if (method == POST) {
        newReply = SendPostRequest();
    } else if (method == GET) {
        newReply = SendGetRequest();
    }
    if (newReply == nullptr) {
        LOG_MESSAGE(logger::Error)
            << LogPrefix() << QStringLiteral("Failed to send request to URL='%1'").arg(GetUrl().toString());
        return false;
    }
    if (GetTimeout() > 0) {
        StartWatchdog(newReply);
    }
    ConnectReply(newReply);
    reply = newReply;
    return true;
}

void HttpRequest::StartWatchdog(QNetworkReply* newReply)
{
    auto* watchdog = new QTimer(newReply);
    connect(watchdog, &QTimer::timeout, this, &HttpRequest::OnRequestTimeout);
    connect(this, &HttpRequest::progress, watchdog, qOverload<>(&QTimer::start));
    connect(newReply, &QNetworkReply::finished, watchdog, &QTimer::stop);
    watchdog->setSingleShot(true);
    watchdog->setInterval(ToMilliseconds(GetTimeout()));
    watchdog->start();
}

/// Qt delivers in the order of connection, and that order is part of what callers see.
void HttpRequest::ConnectReply(QNetworkReply* newReply)
{
    new ReplyGuard(newReply);
    connect(newReply, &QNetworkReply::finished, this, [this, newReply] { Q_EMIT replyFinished(newReply); });
    connect(newReply, &QNetworkReply::finished, this, &HttpRequest::OnRequestFinished);
    connect(newReply, &QNetworkReply::sslErrors, this, &HttpRequest::OnSslErrors);
    connect(newReply, &QNetworkReply::downloadProgress, this, &HttpRequest::downloadProgress);
    connect(newReply, &QNetworkReply::uploadProgress, this, &HttpRequest::uploadProgress);
    connect(newReply, &QNetworkReply::downloadProgress, this, &HttpRequest::progress);
    connect(newReply, &QNetworkReply::uploadProgress, this, &HttpRequest::progress);
}

/// After this nothing of the present reply reaches the request, its watchdog included.
void HttpRequest::CutOffReply()
{
    if (sender() == reply) {
        ReplyGuard::NoteEmission(reply);
    }
    disconnect(reply, nullptr, this, nullptr);
    for (const QObject* child : reply->children()) {
        disconnect(child, nullptr, this, nullptr);
    }
}

/// Empties the field first: what happens while the reply is aborted must find it gone.
void HttpRequest::DeleteReply()
{
    if (!reply.isNull()) {
        CutOffReply();
        ReplyGuard::Delete(std::exchange(reply, nullptr));
    }
}

QNetworkRequest HttpRequest::BuildRequest()
{
    const QString acceptEncoding = QStringLiteral("Accept-Encoding");

    QNetworkRequest request(GetUrl());
    SetSslConfiguration(request);
    for (auto header = rawHeaders.cbegin(); header != rawHeaders.cend(); ++header) {
        request.setRawHeader(header.key().toUtf8(), header.value().toUtf8());
    }
    // Set by hand, which is why Qt leaves the decoding to us.
    if (!rawHeaders.contains(acceptEncoding)) {
        request.setRawHeader(acceptEncoding.toUtf8(), "gzip");
    }
    for (auto attribute = attributes.cbegin(); attribute != attributes.cend(); ++attribute) {
        request.setAttribute(attribute.key(), attribute.value());
    }
    return request;
}

void HttpRequest::SetSslConfiguration(QNetworkRequest& request)
{
    QSslConfiguration configuration = request.sslConfiguration();
    if (!caCertificates.isEmpty()) {
        configuration.setCaCertificates(caCertificates);
    }
    if (!sslCertificate.isNull()) {
        configuration.setLocalCertificate(sslCertificate);
    }
    if (!sslKey.isNull()) {
        configuration.setPrivateKey(sslKey);
    }
    // Meant so, whatever IgnoreSSLErrors says: the peer is never verified.
    configuration.setProtocol(QSsl::AnyProtocol);
    configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
    request.setSslConfiguration(configuration);
}

QNetworkReply* HttpRequest::SendGetRequest()
{
    QNetworkRequest request = BuildRequest();
    if (data.isNull()) {
        return manager->get(request);
    }
    const auto* map = dynamic_cast<const HttpRequestUrlencodedDataMap*>(data.data());
    if (map == nullptr) {
        LOG_MESSAGE(logger::Error) << LogPrefix()
                                   << QStringLiteral("Failed to send GET request to URL='%1'. "
                                                     "Invalid request parameters type")
                                          .arg(GetUrl().toString());
        return nullptr;
    }
    const QString query = QString::fromUtf8(map->GetData());
    if (query.isEmpty()) {
        request.setUrl(GetUrl());
    } else {
        // Always with a "?" of its own, also behind a URL that has a query; this is meant.
        request.setUrl(QUrl(GetUrl().toString() + u'?' + query, QUrl::TolerantMode));
    }
    LOG_MESSAGE(logger::Debug) << LogPrefix()
                               << QStringLiteral("Sending GET request to URL='%1', attempt='%2'.")
                                      .arg(request.url().toString(), QString::number(attempt));
    return manager->get(request);
}

QNetworkReply* HttpRequest::SendPostRequest()
{
    QNetworkRequest request = BuildRequest();
    if (data.isNull()) {
        return manager->post(request, QByteArray());
    }
    if (const auto* simple = dynamic_cast<const IHttpRequestSimpleData*>(data.data())) {
        request.setHeader(QNetworkRequest::ContentTypeHeader, simple->GetContentType());
        LOG_MESSAGE(logger::Debug) << LogPrefix()
                                   << QStringLiteral("Sending POST request to URL='%1', attempt='%2'.")
                                          .arg(request.url().toString(), QString::number(attempt));
        return manager->post(request, simple->GetData());
    }
    if (auto* form = dynamic_cast<IHttpRequestMultiPartData*>(data.data())) {
        return PostMultiPart(request, form->MultiPart());
    }
    return nullptr;
}

QNetworkReply* HttpRequest::PostMultiPart(const QNetworkRequest& request, QHttpMultiPart* multiPart)
{
    if (multiPart == nullptr) {
        LOG_MESSAGE(logger::Error) << LogPrefix()
                                   << QStringLiteral(
                                          "Failed to create multipart/form-data POST request to URL='%1'.")
                                          .arg(GetUrl().toString());
        return nullptr;
    }
    LOG_MESSAGE(logger::Debug) << LogPrefix()
                               << QStringLiteral(
                                      "Sending multipart/form-data POST request to URL='%1', attempt='%2'.")
                                      .arg(request.url().toString(), QString::number(attempt));
    std::unique_ptr<QHttpMultiPart> owner(multiPart);
    QNetworkReply* newReply = manager->post(request, multiPart);
    if (newReply != nullptr) {
        owner.release()->setParent(newReply);
    }
    return newReply;
}

QString HttpRequest::LogPrefix() const
{
    QString prefix = u'[' + QString::number(qHash(this));
    if (!reply.isNull()) {
        prefix += QLatin1String(", ") + QString::number(qHash(reply.data()));
    }
    return prefix + QLatin1String("]: ");
}

} // namespace common::http

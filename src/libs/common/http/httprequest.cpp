#include "../platform/freedescriptors.h"
#include "httprequestdata.h"
#include "httprequestprivate.h"

#include <common/http/ihttprequestmultipartdata.h>

#include <QHashFunctions>
#include <QHttpMultiPart>
#include <QSslConfiguration>

#include <algorithm>
#include <limits>
#include <memory>

namespace common::http
{

namespace
{

/// Number of file descriptors needed to send: Qt looks up the host on one thread and sends on another.
constexpr std::size_t descriptorsOfSend = 2;

} // namespace

int ToMilliseconds(int seconds)
{
    return static_cast<int>(std::clamp<qint64>(qint64{1000} * seconds, 0, std::numeric_limits<int>::max()));
}

IHttpRequest::IHttpRequest() = default;

IHttpRequest::~IHttpRequest() = default;

IHttpRequest* CreateHttpRequest(QNetworkAccessManager* manager, QObject* parent)
{
    return new HttpRequest(manager, parent);
}

HttpRequest::HttpRequest(QNetworkAccessManager* manager, QObject* parent)
    : d(std::make_unique<Private>())
{
    d->manager = manager;
    d->resendTimer = new QTimer(this);
    setParent(parent);
    d->resendTimer->setInterval(ToMilliseconds(d->attemptInterval));
    d->resendTimer->setSingleShot(true);
    connect(d->resendTimer, &QTimer::timeout, this, &HttpRequest::Resend);
}

HttpRequest::~HttpRequest()
{
    d->manager = nullptr; // Aborting the reply may call a slot that sends the request again.
    HttpRequest::Abort();
    DropReply();
}

void HttpRequest::SetUrl(const QUrl& url)
{
    d->url = url;
}

QUrl HttpRequest::GetUrl() const
{
    return d->url;
}

void HttpRequest::SetData(const QSharedPointer<IHttpRequestData>& data)
{
    d->data = data;
}

QSharedPointer<IHttpRequestData> HttpRequest::Data() const
{
    return d->data;
}

void HttpRequest::SetRawHeader(const QString& name, const QString& value)
{
    d->rawHeaders.insert(name, value);
}

QString HttpRequest::GetRawHeader(const QString& name) const
{
    return d->rawHeaders.value(name);
}

void HttpRequest::SetAttribute(QNetworkRequest::Attribute attribute, const QVariant& value)
{
    d->attributes.insert(attribute, value);
}

QVariant HttpRequest::GetAttribute(QNetworkRequest::Attribute attribute) const
{
    return d->attributes.value(attribute);
}

void HttpRequest::SetAttemptCountOnNetworkProblem(int count)
{
    d->attemptCount = count;
}

int HttpRequest::GetAttemptCountOnNetworkProblem() const
{
    return d->attemptCount;
}

void HttpRequest::SetAttemptIntervalOnNetworkProblem(int seconds)
{
    d->attemptInterval = seconds;
    if (!d->resendTimer.isNull()) {
        d->resendTimer->setInterval(ToMilliseconds(seconds));
    }
}

int HttpRequest::GetAttemptIntervalOnNetworkProblem() const
{
    return d->attemptInterval;
}

void HttpRequest::SetTimeout(int seconds)
{
    d->timeout = seconds;
}

int HttpRequest::GetTimeout() const
{
    return d->timeout;
}

bool HttpRequest::Send(HTTPRequestMethod method)
{
    d->attempt = 0;
    return SendRequest(method);
}

bool HttpRequest::Post()
{
    return Send(POST);
}

bool HttpRequest::Get()
{
    return Send(GET);
}

bool HttpRequest::IgnoreSSLErrors() const
{
    return d->ignoreSslErrors;
}

void HttpRequest::SetIgnoreSSLErrors(bool ignore)
{
    d->ignoreSslErrors = ignore;
}

void HttpRequest::SetSslCertificate(const QSslCertificate& certificate, const QSslKey& key,
                                    const QList<QSslCertificate>& authorities)
{
    d->sslCertificate = certificate;
    d->sslKey = key;
    d->caCertificates = authorities;
}

bool HttpRequest::SendRequest(HTTPRequestMethod method)
{
    d->method = method;
    if (QNetworkReply* const earlier = Reply()) {
        // Aborting the reply may call a slot that deletes the request or sends it again.
        const QPointer<HttpRequest> self = this;
        CutOffReply();
        Abort();
        if (!self.isNull() && Reply() == earlier) {
            DropReply();
        }
        if (self.isNull()) {
            return false;
        }
        if (Reply() != nullptr) {
            return true; // The slot has sent the request again; that send takes precedence.
        }
        d->method = method; // A failed send in the slot may have changed the method.
    }
    if (d->manager.isNull()) {
        LOG_MESSAGE(logger::Crit) << LogPrefix() << "Failed to  SendRequest(): HttpRequestManager is NULL!";
        return false;
    }

    QNetworkReply* reply = nullptr;
    const bool canSend = platform::HasDescriptors(descriptorsOfSend);
    if (canSend && d->method == POST) {
        reply = SendPostRequest();
    } else if (canSend && d->method == GET) {
        reply = SendGetRequest();
    }
    if (reply == nullptr) {
        LOG_MESSAGE(logger::Error)
            << LogPrefix() << QStringLiteral("Failed to send request to URL='%1'").arg(GetUrl().toString());
        return false;
    }
    TakeReply(reply);
    return true;
}

QNetworkRequest HttpRequest::BuildRequest()
{
    const QString acceptEncoding = QStringLiteral("Accept-Encoding");

    QNetworkRequest request(GetUrl());
    SetSslConfiguration(request);
    for (auto header = d->rawHeaders.cbegin(); header != d->rawHeaders.cend(); ++header) {
        request.setRawHeader(header.key().toUtf8(), header.value().toUtf8());
    }
    // If a request sets Accept-Encoding itself, Qt does not decompress the body, so ReadBody does.
    if (!d->rawHeaders.contains(acceptEncoding)) {
        request.setRawHeader(acceptEncoding.toUtf8(), "gzip");
    }
    for (auto attribute = d->attributes.cbegin(); attribute != d->attributes.cend(); ++attribute) {
        request.setAttribute(attribute.key(), attribute.value());
    }
    return request;
}

void HttpRequest::SetSslConfiguration(QNetworkRequest& request)
{
    QSslConfiguration configuration = request.sslConfiguration();
    if (!d->caCertificates.isEmpty()) {
        configuration.setCaCertificates(d->caCertificates);
    }
    if (!d->sslCertificate.isNull()) {
        configuration.setLocalCertificate(d->sslCertificate);
    }
    if (!d->sslKey.isNull()) {
        configuration.setPrivateKey(d->sslKey);
    }
    // Kept for compatibility: the peer is never verified, whatever IgnoreSSLErrors returns.
    configuration.setProtocol(QSsl::AnyProtocol);
    configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
    request.setSslConfiguration(configuration);
}

QNetworkReply* HttpRequest::SendGetRequest()
{
    QNetworkRequest request = BuildRequest();
    if (d->data.isNull()) {
        return d->manager->get(request);
    }
    const auto* map = dynamic_cast<const HttpRequestUrlencodedDataMap*>(d->data.data());
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
        // Kept for compatibility: adds a "?" even if the URL already has a query.
        request.setUrl(QUrl(GetUrl().toString() + u'?' + query, QUrl::TolerantMode));
    }
    LOG_MESSAGE(logger::Debug) << LogPrefix()
                               << QStringLiteral("Sending GET request to URL='%1', attempt='%2'.")
                                      .arg(request.url().toString(), QString::number(d->attempt));
    return d->manager->get(request);
}

QNetworkReply* HttpRequest::SendPostRequest()
{
    QNetworkRequest request = BuildRequest();
    if (d->data.isNull()) {
        return d->manager->post(request, QByteArray());
    }
    if (const auto* simple = dynamic_cast<const IHttpRequestSimpleData*>(d->data.data())) {
        request.setHeader(QNetworkRequest::ContentTypeHeader, simple->GetContentType());
        LOG_MESSAGE(logger::Debug) << LogPrefix()
                                   << QStringLiteral("Sending POST request to URL='%1', attempt='%2'.")
                                          .arg(request.url().toString(), QString::number(d->attempt));
        return d->manager->post(request, simple->GetData());
    }
    auto* const form = dynamic_cast<IHttpRequestMultiPartData*>(d->data.data());
    if (form == nullptr) {
        return nullptr;
    }
    std::unique_ptr<QHttpMultiPart> multiPart(form->MultiPart());
    // Check again, because the files of the form take descriptors.
    if (multiPart == nullptr || !platform::HasDescriptors(descriptorsOfSend)) {
        LOG_MESSAGE(logger::Error) << LogPrefix()
                                   << QStringLiteral(
                                          "Failed to create multipart/form-data POST request to URL='%1'.")
                                          .arg(GetUrl().toString());
        return nullptr;
    }
    LOG_MESSAGE(logger::Debug) << LogPrefix()
                               << QStringLiteral(
                                      "Sending multipart/form-data POST request to URL='%1', attempt='%2'.")
                                      .arg(request.url().toString(), QString::number(d->attempt));
    QNetworkReply* const reply = d->manager->post(request, multiPart.get());
    if (reply != nullptr) {
        multiPart.release()->setParent(reply);
    }
    return reply;
}

QString HttpRequest::LogPrefix() const
{
    QString prefix = u'[' + QString::number(qHash(this));
    if (const QNetworkReply* reply = Reply()) {
        prefix += QLatin1String(", ") + QString::number(qHash(reply));
    }
    return prefix + QLatin1String("]: ");
}

} // namespace common::http

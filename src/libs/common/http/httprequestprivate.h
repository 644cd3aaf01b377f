#pragma once

#include <common/http/httprequest.h>

#include <common/logger/logger.h>

#include <QMap>
#include <QNetworkAccessManager>
#include <QPointer>
#include <QTimer>

namespace common::http
{

inline constexpr logger::Channel logChannel{"http.request"};

struct HttpRequest::Private
{
    QPointer<QNetworkAccessManager> manager;
    QUrl url;
    int timeout = 0; ///< In seconds.
    QSharedPointer<IHttpRequestData> data;
    QMap<QString, QString> rawHeaders;
    QMap<QNetworkRequest::Attribute, QVariant> attributes;
    /// Weak, because the manager deletes its replies when it is destroyed. Shared with each Delivery.
    std::shared_ptr<const QPointer<QNetworkReply>> reply;
    bool ignoreSslErrors = false;
    HTTPRequestMethod method = GET;
    int attemptCount = 1;
    int attemptInterval = 20; ///< In seconds.
    int attempt = 0;          ///< Number of the current attempt, from 0.
    QPointer<QTimer> resendTimer;
    QSslCertificate sslCertificate;
    QSslKey sslKey;
    QList<QSslCertificate> caCertificates;
};

/// Limits the result to the range of QTimer: from 0 to the largest int (24 days).
int ToMilliseconds(int seconds);

} // namespace common::http

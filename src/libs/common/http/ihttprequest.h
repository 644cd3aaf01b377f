#pragma once

#include <common/http/ihttprequestdata.h>
#include <common/vxcommon_export.h>

#include <QByteArray>
#include <QList>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QObject>
#include <QSharedPointer>
#include <QSslCertificate>
#include <QSslKey>
#include <QString>
#include <QUrl>
#include <QVariant>

class QNetworkAccessManager;

/**
 * @file
 * HTTP requests (RFC 9110) with retries and a limit on silence, sent through a QNetworkAccessManager of the
 * caller.
 *
 * Use all classes only on the manager's thread, which must run an event loop.
 */
namespace common::http
{

/**
 * An HTTP request. Set it up, connect to its signals and send it with Get or Post. You can send it any number
 * of times; a new send silently drops the previous send.
 *
 * The outcome depends on the error code of the reply (QNetworkReply::NetworkError):
 *
 * | Code               | Meaning            | Retried | Signals                                             |
 * |--------------------|--------------------|---------|-----------------------------------------------------|
 * | 0                  | success            | no      | requestFinishedWithBinaryData, then requestFinished |
 * | 1 to 9, 99         | network problem    | yes     | requestError                                        |
 * | 101 to 105, 199    | proxy              | no      | proxyError, then requestError                       |
 * | 302                | invalid operation  | no      | invalidOperationError, then requestError            |
 * | any other          | refused by server  | no      | requestError                                        |
 * | HTTP status 429    | too many requests  | yes     | requestError(429) each time; see requestError       |
 * | silence (timeout)  | network problem    | yes     | requestError(4, "Request timed out")                |
 *
 * Each attempt emits replyFinished before these signals, unless it times out. An attempt that is retried
 * emits none of these signals, except for status 429. Neither Abort nor destruction emits any of them.
 *
 * A slot connected to one of these signals may abort the request, send it again or delete it. After a new
 * send or deletion, the request emits nothing more for the earlier reply. A slot connected to a signal of
 * Reply() or of the manager must not do any of this; see HttpRequest.
 *
 * @warning The peer of a TLS connection is never verified, whatever IgnoreSSLErrors returns. The connection
 * is encrypted but not authenticated.
 */
class VXCOMMON_EXPORT IHttpRequest : public QObject
{
    Q_OBJECT

public:
    /// HTTP method of a request.
    enum HTTPRequestMethod : int
    {
        POST = 0,
        GET = 1
    };

    IHttpRequest();
    ~IHttpRequest() override;

    /// Sets the target URL. An invalid URL makes the request fail with a network error once it is sent.
    virtual void SetUrl(const QUrl& url) = 0;
    virtual QUrl GetUrl() const = 0; ///< @see SetUrl

    /// Sets the payload; null means none. A GET accepts only a payload that was created with
    /// IHttpRequestDataMap::CreateUrlencodedDataMap.
    virtual void SetData(const QSharedPointer<IHttpRequestData>& data) = 0;
    virtual QSharedPointer<IHttpRequestData> Data() const = 0; ///< @see SetData

    /**
     * Sets a header. Names are case-sensitive. The only header added by default is "Accept-Encoding: gzip",
     * unless you set exactly that name. The content type of a JSON or URL-encoded payload overrides a
     * Content-Type header. Do not set this header for a form: the form's own header declares the boundary.
     *
     * @warning Names and values are sent verbatim; a line break in either begins another header.
     */
    virtual void SetRawHeader(const QString& name, const QString& value) = 0;
    virtual QString GetRawHeader(const QString& name) const = 0; ///< Returns an empty string if not set.

    /// Sets an attribute of the QNetworkRequest, such as its redirect policy. Qt's defaults apply otherwise.
    virtual void SetAttribute(QNetworkRequest::Attribute attribute, const QVariant& value) = 0;
    virtual QVariant GetAttribute(QNetworkRequest::Attribute attribute) const = 0; ///< Invalid if not set.

    /// Sets the maximum number of attempts; 1 (default) or less means no retry.
    virtual void SetAttemptCountOnNetworkProblem(int count) = 0;
    virtual int GetAttemptCountOnNetworkProblem() const = 0; ///< @see SetAttemptCountOnNetworkProblem

    /// Sets the interval between two attempts in seconds (default: 20). If a retry is pending, the new
    /// interval starts immediately.
    virtual void SetAttemptIntervalOnNetworkProblem(int seconds) = 0;
    virtual int GetAttemptIntervalOnNetworkProblem() const = 0; ///< @see SetAttemptIntervalOnNetworkProblem

    /// Sets the number of seconds without sent or received data after which an attempt fails; 0 (default) or
    /// less means no limit. Applies from the next attempt on.
    virtual void SetTimeout(int seconds) = 0;
    virtual int GetTimeout() const = 0; ///< @see SetTimeout

    /**
     * Sends the request and restarts the count of attempts.
     *
     * @return false if the request could not be sent: the manager was destroyed, the payload does not suit
     * the method, a form file cannot be opened, or no file descriptor is free. In that case, no signal is
     * emitted. If a *retry* cannot be sent, only the log reports it.
     */
    virtual bool Send(HTTPRequestMethod method) = 0;
    virtual bool Post() = 0; ///< Calls Send(POST).
    virtual bool Get() = 0;  ///< Calls Send(GET).

    virtual bool isRunning() const = 0; ///< Returns whether an attempt is running. Ignores a pending retry.

    virtual bool IgnoreSSLErrors() const = 0; ///< @see SetIgnoreSSLErrors
    /// Sets whether to ignore errors that Qt reports during the TLS handshake (default: false).
    virtual void SetIgnoreSSLErrors(bool ignore) = 0;

    /// Sets the client certificate, key and CA certificates; applies from the next attempt on. A null value
    /// or an empty list keeps Qt's default.
    virtual void SetSslCertificate(const QSslCertificate& certificate, const QSslKey& key,
                                   const QList<QSslCertificate>& caCertificates) = 0;

    /// Returns the current reply, or null. The reply is valid until the next attempt begins, the running
    /// attempt is aborted or times out, or the request or its manager is destroyed.
    virtual QNetworkReply* Reply() const = 0;

public Q_SLOTS:
    /// Silently drops a running attempt or a pending retry. Keeps a reply that has finished.
    virtual void Abort() = 0;

Q_SIGNALS:
    void requestFinished(const QString& result); ///< Emitted on success, with the body decoded as UTF-8.
    /// Emitted on success, with the body. A "gzip" body is decompressed if possible.
    void requestFinishedWithBinaryData(const QByteArray& result);
    /**
     * Emitted when the request has failed.
     *
     * On HTTP status 429, it is emitted with error 429 at every attempt. At the last attempt, it is emitted
     * again with the code and body of the reply.
     *
     * @param result the body, as in requestFinishedWithBinaryData
     */
    void requestError(int error, const QString& errorDesc, const QByteArray& result = QByteArray());
    void invalidOperationError(int error, const QString& errorDesc); ///< Emitted on code 302.
    void proxyError(int error, const QString& errorDesc);            ///< Emitted on a proxy error.
    /// Emitted as data arrives. The sizes are in bytes; `bytesTotal` is -1 if unknown.
    void downloadProgress(qint64 bytesReceived, qint64 bytesTotal);
    /// Emitted as data is sent. The sizes are in bytes; `bytesTotal` is -1 if unknown.
    void uploadProgress(qint64 bytesSent, qint64 bytesTotal);
    void replyFinished(const QNetworkReply* reply); ///< Emitted when the reply of an attempt has finished.
};

/// Creates a request that uses `manager`; keep the manager alive while you use the request. The caller owns
/// the request unless `parent` is set.
VXCOMMON_EXPORT IHttpRequest* CreateHttpRequest(QNetworkAccessManager* manager, QObject* parent);

} // namespace common::http

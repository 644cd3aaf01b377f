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
 * HTTP requests (RFC 9110) with a limit on silence and with retries, on a QNetworkAccessManager of the
 * caller.
 *
 * Everything belongs to the thread of that manager, which runs an event loop.
 */
namespace common::http
{

/**
 * One request: fill it in, send it with Get or Post, and listen to its signals. It can be sent any number of
 * times, one after the other; a new send drops the one before it without a signal.
 *
 * How a request ends, by the error code of the reply (QNetworkReply::NetworkError):
 *
 * | Code               | Meaning            | Retried | Signals                                             |
 * |--------------------|--------------------|---------|-----------------------------------------------------|
 * | 0                  | success            | no      | requestFinishedWithBinaryData, then requestFinished |
 * | 1 to 9, 99         | network problem    | yes     | requestError                                        |
 * | 101 to 105, 199    | proxy              | no      | proxyError, then requestError                       |
 * | 302                | invalid operation  | no      | invalidOperationError, then requestError            |
 * | any other          | refused by server  | no      | requestError                                        |
 * | HTTP status 429    | too many requests  | yes     | requestError(429) each time; see requestError       |
 * | silence (time-out) | network problem    | yes     | requestError(4, "Request timed out")                |
 *
 * replyFinished comes before these, at every attempt but one that timed out. An attempt that will be retried
 * is otherwise silent. Neither Abort nor destruction emits anything.
 *
 * Receivers may do anything to the request in any of its signals: abort it, send it again, delete it. Once it
 * is sent again or deleted, the earlier reply delivers nothing more.
 *
 * The peer of a TLS connection is never verified, whatever IgnoreSSLErrors says: what comes over https is
 * enciphered, but may come from anybody.
 */
class VXCOMMON_EXPORT IHttpRequest : public QObject
{
    Q_OBJECT

public:
    /// What Send sends.
    enum HTTPRequestMethod : int
    {
        POST = 0,
        GET = 1
    };

    IHttpRequest();
    ~IHttpRequest() override;

    /// The target. Not looked at before the send; a bad one comes back as an error of the reply.
    virtual void SetUrl(const QUrl& url) = 0;
    virtual QUrl GetUrl() const = 0; ///< As set.

    /// The payload, or null for none; a GET takes none but IHttpRequestDataMap::CreateUrlencodedDataMap.
    virtual void SetData(const QSharedPointer<IHttpRequestData>& data) = 0;
    virtual QSharedPointer<IHttpRequestData> Data() const = 0; ///< As set.

    /**
     * A header to send; names are told apart by case. The only one that is added unasked is
     * "Accept-Encoding: gzip", unless that very name is set here. The content type of JSON and of a
     * URL-encoded map wins over one set here; with a form set none, since its own tells the boundary.
     */
    virtual void SetRawHeader(const QString& name, const QString& value) = 0;
    virtual QString GetRawHeader(const QString& name) const = 0; ///< Empty for an unknown name.

    /// An attribute of the QNetworkRequest, such as its redirect policy; Qt's defaults hold otherwise.
    virtual void SetAttribute(QNetworkRequest::Attribute attribute, const QVariant& value) = 0;
    virtual QVariant GetAttribute(QNetworkRequest::Attribute attribute) const = 0; ///< Invalid if not set.

    /// Number of tries in all; 1, the default, or less means no retry.
    virtual void SetAttemptCountOnNetworkProblem(int count) = 0;
    virtual int GetAttemptCountOnNetworkProblem() const = 0; ///< As set.

    /// Seconds between a failed try and the next; 20 by default. Acts at once, on a waiting retry too.
    virtual void SetAttemptIntervalOnNetworkProblem(int seconds) = 0;
    virtual int GetAttemptIntervalOnNetworkProblem() const = 0; ///< As set.

    /// Seconds of silence, without any progress up or down, after which an attempt fails; 0, the default, or
    /// less means no limit. Acts from the next attempt on.
    virtual void SetTimeout(int seconds) = 0;
    virtual int GetTimeout() const = 0; ///< As set.

    /**
     * Sends the request, as its first try.
     *
     * @return whether the request is on its way; false is told by no signal, but by the log: the manager is
     * gone, the payload does not fit the method, or a file of it cannot be opened. The same failure of a
     * *retry* is told by the log alone.
     */
    virtual bool Send(HTTPRequestMethod method) = 0;
    virtual bool Post() = 0; ///< Send(POST).
    virtual bool Get() = 0;  ///< Send(GET).

    virtual bool isRunning() const = 0; ///< False while a retry waits for its time.

    /// Whether errors that Qt finds in a TLS handshake are ignored; false by default.
    virtual bool IgnoreSSLErrors() const = 0;
    virtual void SetIgnoreSSLErrors(bool ignore) = 0; ///< See IgnoreSSLErrors.

    /// The client's certificate and key and the authorities it knows, for the sends to come; a null one or an
    /// empty list leaves Qt's default.
    virtual void SetSslCertificate(const QSslCertificate& certificate, const QSslKey& key,
                                   const QList<QSslCertificate>& caCertificates) = 0;

    /// The present reply, or null. The request keeps it until it is sent again, aborted while running or
    /// destroyed.
    virtual QNetworkReply* Reply() const = 0;

public Q_SLOTS:
    /// Drops a running attempt and a waiting retry without a signal. A reply that has ended stays.
    virtual void Abort() = 0;

Q_SIGNALS:
    void requestFinished(const QString& result); ///< The body, read as UTF-8.
    /// The body, unpacked if the server sent it as "gzip"; as it came if it cannot be unpacked.
    void requestFinishedWithBinaryData(const QByteArray& result);
    /**
     * The request has failed.
     *
     * On status 429 it comes with that number at every try, and at the last one a second time with the code
     * and the body of the reply.
     *
     * @param result the body, as in requestFinishedWithBinaryData
     */
    void requestError(int error, const QString& errorDesc, const QByteArray& result = QByteArray());
    void invalidOperationError(int error, const QString& errorDesc); ///< Code 302; requestError follows.
    void proxyError(int error, const QString& errorDesc);           ///< A proxy's code; requestError follows.
    void downloadProgress(qint64 bytesReceived, qint64 bytesTotal); ///< In bytes; a total of -1 is unknown.
    void uploadProgress(qint64 bytesSent, qint64 bytesTotal);       ///< In bytes; a total of -1 is unknown.
    void replyFinished(const QNetworkReply* reply);                 ///< An attempt's reply has ended.
};

/// A new request on `manager`, which must outlive its use; the caller owns it, or `parent` does.
VXCOMMON_EXPORT IHttpRequest* CreateHttpRequest(QNetworkAccessManager* manager, QObject* parent);

} // namespace common::http

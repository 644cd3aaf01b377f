#pragma once

#include <common/http/ihttprequest.h>

#include <QMap>
#include <QNetworkAccessManager>
#include <QPointer>
#include <QSslError>
#include <QTimer>

namespace common::http
{

/**
 * The request behind CreateHttpRequest, for those who want to change a step of it.
 *
 * A reply is deleted at once when the request is done with it, also inside the watchdog's signal. Only where
 * Qt itself is still at work in the reply, as inside one of the reply's signals, it is deleted right after
 * that work; it is cut off from the request, aborted and gone from Reply() at once all the same. A reply that
 * its caller aborted outside of any event loop may stay until its manager dies.
 */
class VXCOMMON_EXPORT HttpRequest : public IHttpRequest
{
    Q_OBJECT

public:
    HttpRequest(QNetworkAccessManager* manager_, QObject* parent);
    ~HttpRequest() override;

    void SetUrl(const QUrl& newUrl) override;
    QUrl GetUrl() const override;
    void SetData(const QSharedPointer<IHttpRequestData>& newData) override;
    QSharedPointer<IHttpRequestData> Data() const override;
    void SetRawHeader(const QString& name, const QString& value) override;
    QString GetRawHeader(const QString& name) const override;
    void SetAttribute(QNetworkRequest::Attribute attribute, const QVariant& value) override;
    QVariant GetAttribute(QNetworkRequest::Attribute attribute) const override;
    void SetAttemptCountOnNetworkProblem(int count) override;
    int GetAttemptCountOnNetworkProblem() const override;
    void SetAttemptIntervalOnNetworkProblem(int seconds) override;
    int GetAttemptIntervalOnNetworkProblem() const override;
    void SetTimeout(int seconds) override;
    int GetTimeout() const override;
    bool Send(HTTPRequestMethod newMethod) override;
    bool Post() override;
    bool Get() override;
    bool isRunning() const override;
    bool IgnoreSSLErrors() const override;
    void SetIgnoreSSLErrors(bool ignore) override;
    void SetSslCertificate(const QSslCertificate& certificate, const QSslKey& key,
                           const QList<QSslCertificate>& authorities) override;
    QNetworkReply* Reply() const override;

public Q_SLOTS:
    void Abort() override;
    /// Begins the next try with the method of the last send. A failure is told by the log alone.
    virtual void Resend();

protected:
    /// Puts client certificate, key and authorities into `request`, and turns the check of the peer off.
    virtual void SetSslConfiguration(QNetworkRequest& request);
    /// Begins one try; the result is that of Send.
    virtual bool SendRequest(HTTPRequestMethod newMethod);
    /// Schedules the next try. False if none is left; if true, nothing more is to be told of this one.
    bool AskRetryIfPossible();

Q_SIGNALS:
    void progress(); ///< Any data has moved; starts the watchdog's interval again.

private Q_SLOTS:
    void OnRequestFinished();
    void OnRequestTimeout();
    void OnSslErrors(const QList<QSslError>& errors);

private:
    Q_DISABLE_COPY(HttpRequest)

    virtual QNetworkReply* SendPostRequest();
    virtual QNetworkReply* SendGetRequest();

    QNetworkRequest BuildRequest();
    QNetworkReply* PostMultiPart(const QNetworkRequest& request, QHttpMultiPart* multiPart);
    void StartWatchdog(QNetworkReply* newReply);
    void ConnectReply(QNetworkReply* newReply);
    void CutOffReply();
    void DeleteReply();
    QByteArray ReadBody();
    void Finish();
    QString LogPrefix() const;

    QPointer<QNetworkAccessManager> manager;
    QUrl url;
    int timeout = 0;
    QSharedPointer<IHttpRequestData> data;
    QMap<QString, QString> rawHeaders;
    QMap<QNetworkRequest::Attribute, QVariant> attributes;
    /// Owned. A weak pointer, since the manager takes its replies along when it dies.
    QPointer<QNetworkReply> reply;
    bool ignoreSslErrors = false;
    HTTPRequestMethod method = GET;
    int attemptCount;
    int attemptInterval;
    int attempt = 0;
    QPointer<QTimer> resendTimer;
    QSslCertificate sslCertificate;
    QSslKey sslKey;
    QList<QSslCertificate> caCertificates;
};

} // namespace common::http

#pragma once

#include <common/http/ihttprequest.h>

#include <QSslError>

#include <memory>

namespace common::http
{

/**
 * The request that CreateHttpRequest returns; derive from it to change a step.
 *
 * The request deletes a reply as soon as it no longer needs it. Inside a signal of the request, Reply() no
 * longer returns that reply, but it is deleted only when Qt has returned from it to the event loop.
 *
 * @warning Do not send, abort or delete the request in a slot that is connected to a signal of Reply() itself
 * or to QNetworkAccessManager::finished. Qt forbids deleting a reply there. Use a queued connection.
 */
class VXCOMMON_EXPORT HttpRequest : public IHttpRequest
{
    Q_OBJECT

public:
    HttpRequest(QNetworkAccessManager* manager, QObject* parent);
    ~HttpRequest() override;

    void SetUrl(const QUrl& url) override;
    QUrl GetUrl() const override;
    void SetData(const QSharedPointer<IHttpRequestData>& data) override;
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
    bool Send(HTTPRequestMethod method) override;
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
    /// Begins the next attempt with the method of the last send. Only the log reports a failure.
    virtual void Resend();

protected:
    /// Adds client certificate, key and CA certificates to `request`, and disables peer verification.
    virtual void SetSslConfiguration(QNetworkRequest& request);
    /// Begins one attempt. Returns what Send returns.
    virtual bool SendRequest(HTTPRequestMethod method);
    /// Schedules the next attempt. Returns false if none is left; if true, emit nothing for this one.
    bool AskRetryIfPossible();

Q_SIGNALS:
    void progress(); ///< Emitted when data has been sent or received; restarts the timeout.

private Q_SLOTS:
    void OnRequestFinished();
    void OnRequestTimeout();
    void OnSslErrors(const QList<QSslError>& errors);

private:
    Q_DISABLE_COPY(HttpRequest)

    struct Private;
    class Delivery;

    virtual QNetworkReply* SendPostRequest();
    virtual QNetworkReply* SendGetRequest();

    QNetworkRequest BuildRequest();
    void TakeReply(QNetworkReply* reply);
    void CutOffReply();
    void DropReply();
    QByteArray ReadBody();
    void FinishWithError(int error, const QString& description, const QByteArray& body);
    QString LogPrefix() const;

    std::unique_ptr<Private> d;
};

} // namespace common::http

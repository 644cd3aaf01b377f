#pragma once

#include <common/http/ihttprequest.h>

#include <QSslError>

#include <memory>

namespace common::http
{

/**
 * The class that CreateHttpRequest instantiates; derive from it to customise a step.
 *
 * The request deletes a reply as soon as the reply is no longer needed. During a signal of the request,
 * Reply() stops returning the reply immediately; the reply is deleted once control has returned to the event
 * loop.
 *
 * @warning Do not send, abort or delete the request in a slot that is connected to a signal of Reply() itself
 * or to QNetworkAccessManager::finished. Qt forbids these slots to delete a reply; use a queued connection.
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
    /// Adds the client certificate, key and CA certificates to `request`, and disables peer verification.
    virtual void SetSslConfiguration(QNetworkRequest& request);
    /// Begins one attempt; for the return value, see Send.
    virtual bool SendRequest(HTTPRequestMethod method);
    /// Schedules the next attempt; returns false if none is left. If it returns true, do not report the
    /// current failure.
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

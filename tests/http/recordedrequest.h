#pragma once

#include <common/http/ihttprequest.h>

#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QStringList>

#include <memory>

/// The signals of a request that succeeds.
inline const QString success = "replyFinished, binary, finished";

/// Records the signals of a request in order, except progress, whose number depends on Qt.
class SignalRecorder : public QObject
{
public:
    explicit SignalRecorder(common::http::IHttpRequest* request)
    {
        using common::http::IHttpRequest;
        connect(request, &IHttpRequest::replyFinished, this, [this] { events += "replyFinished"; });
        connect(request, &IHttpRequest::requestFinishedWithBinaryData, this, [this](const QByteArray& bytes) {
            events += "binary";
            body = bytes;
        });
        connect(request, &IHttpRequest::requestFinished, this, [this](const QString& result) {
            events += "finished";
            text = result;
        });
        connect(request, &IHttpRequest::proxyError, this,
                [this](int error) { events += QString("proxy %1").arg(error); });
        connect(request, &IHttpRequest::invalidOperationError, this,
                [this](int error) { events += QString("invalid %1").arg(error); });
        connect(request, &IHttpRequest::requestError, this,
                [this](int error, const QString& description, const QByteArray& bytes) {
                    events += QString("error %1 %2").arg(error).arg(bytes.size());
                    text = description;
                    body = bytes;
                });
    }

    QString Told() const { return events.join(", "); }

    QStringList events;
    QByteArray body; ///< As delivered, or as given with the error.
    QString text;
};

/// A request for tests, with a separate manager and without a delay between its attempts.
struct RecordedRequest
{
    void Renew()
    {
        request.reset();
        manager = std::make_unique<QNetworkAccessManager>();
        manager->setProxy(QNetworkProxy::NoProxy);
        Use(common::http::CreateHttpRequest(manager.get(), nullptr));
    }

    void Use(common::http::IHttpRequest* newRequest)
    {
        request.reset(newRequest);
        request->SetAttemptIntervalOnNetworkProblem(0);
        told = std::make_unique<SignalRecorder>(newRequest);
    }

    std::unique_ptr<QNetworkAccessManager> manager;
    std::unique_ptr<common::http::IHttpRequest> request;
    std::unique_ptr<SignalRecorder> told;
};

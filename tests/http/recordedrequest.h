#pragma once

#include <common/http/ihttprequest.h>

#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QStringList>

#include <memory>

/// The signals of a request that succeeds.
inline const QString success = "replyFinished, binary, finished";

/// A request for tests, with a separate manager and no delay between attempts. Records its signals in order,
/// except for progress, because Qt determines how often it is emitted.
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
        using common::http::IHttpRequest;
        request.reset(newRequest);
        request->SetAttemptIntervalOnNetworkProblem(0);
        events.clear();
        QObject::connect(newRequest, &IHttpRequest::replyFinished, [this] { events += "replyFinished"; });
        QObject::connect(newRequest, &IHttpRequest::requestFinishedWithBinaryData,
                         [this](const QByteArray& bytes) {
                             events += "binary";
                             body = bytes;
                         });
        QObject::connect(newRequest, &IHttpRequest::requestFinished, [this](const QString& result) {
            events += "finished";
            text = result;
        });
        QObject::connect(newRequest, &IHttpRequest::proxyError,
                         [this](int error) { events += QString("proxy %1").arg(error); });
        QObject::connect(newRequest, &IHttpRequest::invalidOperationError,
                         [this](int error) { events += QString("invalid %1").arg(error); });
        QObject::connect(newRequest, &IHttpRequest::requestError,
                         [this](int error, const QString& description, const QByteArray& bytes) {
                             events += QString("error %1 %2").arg(error).arg(bytes.size());
                             text = description;
                             body = bytes;
                         });
    }

    QString Told() const { return events.join(", "); }

    std::unique_ptr<QNetworkAccessManager> manager;
    QStringList events;
    QByteArray body; ///< The body from the success or error signal.
    QString text;
    std::unique_ptr<common::http::IHttpRequest> request;
};

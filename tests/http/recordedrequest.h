#pragma once

#include <common/http/ihttprequest.h>

#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QRegularExpression>
#include <QStringList>

#include <memory>

/// Keeps what a request tells, in its order.
class SignalRecorder : public QObject
{
public:
    explicit SignalRecorder(common::http::IHttpRequest* request)
    {
        using common::http::IHttpRequest;
        const auto note = [this, request](auto signal, const QString& event) {
            connect(request, signal, this, [this, event] { events += event; });
        };
        const auto noteCode = [this, request](auto signal, const QString& event) {
            connect(request, signal, this, [this, event](int error) { events += event.arg(error); });
        };
        note(&IHttpRequest::downloadProgress, "down");
        note(&IHttpRequest::uploadProgress, "up");
        note(&IHttpRequest::replyFinished, "replyFinished");
        note(&IHttpRequest::requestFinishedWithBinaryData, "binary");
        note(&IHttpRequest::requestFinished, "finished");
        noteCode(&IHttpRequest::proxyError, "proxy %1");
        noteCode(&IHttpRequest::invalidOperationError, "invalid %1");
        connect(request, &IHttpRequest::requestFinishedWithBinaryData, this,
                [this](const QByteArray& bytes) { body = bytes; });
        connect(request, &IHttpRequest::requestFinished, this,
                [this](const QString& result) { text = result; });
        connect(request, &IHttpRequest::requestError, this,
                [this](int error, const QString& description, const QByteArray& bytes) {
                    text = description;
                    body = bytes;
                    events += QStringLiteral("error %1 %2").arg(error).arg(bytes.size());
                });
    }

    /// The events but for progress, which comes as often as Qt likes.
    QString Told() const { return events.filter(QRegularExpression("^(?!down|up)")).join(", "); }
    bool HasEnded() const { return QRegularExpression("finished$|error [^,]*$").match(Told()).hasMatch(); }

    QStringList events;
    QByteArray body; ///< As delivered or told with the error.
    QString text;
};

/// What a test of requests needs: one on a manager of its own, without a delay between its tries.
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

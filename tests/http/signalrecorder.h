#pragma once

#include <common/http/ihttprequest.h>

#include <QStringList>

/// Keeps what a request tells, in its order. A run of the same progress signal is one entry.
class SignalRecorder : public QObject
{
public:
    explicit SignalRecorder(common::http::IHttpRequest* request)
    {
        using common::http::IHttpRequest;
        const auto onProgress = [this](const char* name) {
            if (events.isEmpty() || events.last() != name) {
                events += name;
            }
        };
        connect(request, &IHttpRequest::downloadProgress, this, [onProgress] { onProgress("down"); });
        connect(request, &IHttpRequest::uploadProgress, this, [onProgress] { onProgress("up"); });
        connect(request, &IHttpRequest::replyFinished, this, [this] { events += "replyFinished"; });
        connect(request, &IHttpRequest::requestFinishedWithBinaryData, this, [this](const QByteArray& body) {
            binaryBody = body;
            events += "binary";
        });
        connect(request, &IHttpRequest::requestFinished, this, [this](const QString& body) {
            textBody = body;
            events += "finished";
        });
        connect(request, &IHttpRequest::requestError, this,
                [this](int error, const QString& text, const QByteArray& body) {
                    errorText = text;
                    binaryBody = body;
                    events += QStringLiteral("error %1 %2").arg(error).arg(body.size());
                });
        connect(request, &IHttpRequest::proxyError, this,
                [this](int error) { events += QStringLiteral("proxy %1").arg(error); });
        connect(request, &IHttpRequest::invalidOperationError, this,
                [this](int error) { events += QStringLiteral("invalid %1").arg(error); });
    }

    /// The events but for progress, which comes as often as Qt likes.
    QStringList WithoutProgress() const
    {
        QStringList rest = events;
        rest.removeAll("down");
        rest.removeAll("up");
        return rest;
    }

    QString Told() const { return WithoutProgress().join(", "); }

    bool HasEnded() const
    {
        return !events.isEmpty() && (events.last() == "finished" || events.last().startsWith("error"));
    }

    QStringList events;
    QByteArray binaryBody;
    QString textBody;
    QString errorText;
};

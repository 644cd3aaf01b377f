#include "command.h"
#include "httpoptions.h"
#include "interrupt.h"
#include "output.h"

#include <common/http/ihttprequest.h>

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QTimer>

#include <memory>

namespace vxtool
{

namespace
{

using common::http::IHttpRequest;

constexpr int tooManyRequests = 429;

/// Prints each signal, with what it carries, as one line on standard error.
void ShowSignals(const IHttpRequest* request)
{
    const auto show = [](const QString& name, const QStringList& values) {
        PrintError((QStringList{name} + values).join(u' '));
    };
    const auto progress = [show](const QString& name) {
        return [show, name](qint64 done, qint64 total) {
            show(name, {QString::number(done), QString::number(total)});
        };
    };
    const auto failure = [show](const QString& name) {
        return [show, name](int error, const QString& text) { show(name, {QString::number(error), text}); };
    };
    QObject::connect(request, &IHttpRequest::downloadProgress, progress(QStringLiteral("downloadProgress")));
    QObject::connect(request, &IHttpRequest::uploadProgress, progress(QStringLiteral("uploadProgress")));
    QObject::connect(request, &IHttpRequest::replyFinished, [show](const QNetworkReply* reply) {
        show(QStringLiteral("replyFinished"),
             {reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toString()});
    });
    QObject::connect(request, &IHttpRequest::requestFinishedWithBinaryData, [show](const QByteArray& body) {
        show(QStringLiteral("requestFinishedWithBinaryData"), {QString::number(body.size())});
    });
    QObject::connect(request, &IHttpRequest::requestFinished, [show](const QString& body) {
        show(QStringLiteral("requestFinished"), {QString::number(body.size())});
    });
    QObject::connect(request, &IHttpRequest::proxyError, failure(QStringLiteral("proxyError")));
    QObject::connect(request, &IHttpRequest::invalidOperationError,
                     failure(QStringLiteral("invalidOperationError")));
    QObject::connect(request, &IHttpRequest::requestError, failure(QStringLiteral("requestError")));
}

/// A retry that cannot be sent is told by the log alone: a request that neither runs nor waits has failed.
void WatchIdleness(const IHttpRequest& request, QTimer& timer, const std::function<void()>& onIdle)
{
    constexpr qint64 marginSeconds = 2;
    timer.setInterval(1000);
    QObject::connect(&timer, &QTimer::timeout, &timer, [&request, onIdle, idleSeconds = qint64{0}]() mutable {
        idleSeconds = request.isRunning() ? 0 : idleSeconds + 1;
        if (idleSeconds > request.GetAttemptIntervalOnNetworkProblem() + marginSeconds) {
            onIdle();
        }
    });
    timer.start();
}

int RunRequest(IHttpRequest& request, IHttpRequest::HTTPRequestMethod method, const QString& commandName)
{
    QEventLoop loop;
    QString complaint;
    const auto fail = [&](const QString& reason) {
        complaint = reason;
        loop.quit();
    };
    QObject::connect(&request, &IHttpRequest::requestFinishedWithBinaryData, &loop,
                     [](const QByteArray& body) { PrintBytes(body); });
    QObject::connect(&request, &IHttpRequest::requestFinished, &loop, &QEventLoop::quit);
    QObject::connect(&request, &IHttpRequest::requestError, &loop, [&](int error, const QString& text) {
        // Never the last word: a retry follows, or the same reply once more under its own code.
        if (error != tooManyRequests) {
            fail(QStringLiteral("error %1: %2").arg(error).arg(text));
        }
    });
    OnInterrupt([&] {
        request.Abort();
        fail(QStringLiteral("interrupted"));
    });
    QTimer idleTimer;
    if (!request.Send(method)) {
        complaint = QStringLiteral("the request could not be sent; a log tells why (--log)");
    } else {
        WatchIdleness(request, idleTimer,
                      [&] { fail(QStringLiteral("the retry could not be sent; a log tells why (--log)")); });
        loop.exec();
    }
    if (complaint.isEmpty()) {
        return AllValid;
    }
    PrintError(QStringLiteral("vxtool %1: %2").arg(commandName, complaint));
    return SomeFailed;
}

int Run(const QCommandLineParser& parser, IHttpRequest::HTTPRequestMethod method, const QString& commandName)
{
    QNetworkAccessManager manager;
    const std::unique_ptr<IHttpRequest> request(common::http::CreateHttpRequest(&manager, nullptr));
    const QString problem = ApplyHttpOptions(parser, *request);
    if (!problem.isEmpty()) {
        return FailUsage(problem, commandName);
    }
    if (parser.isSet(QStringLiteral("verbose"))) {
        ShowSignals(request.get());
    }
    return RunRequest(*request, method, commandName);
}

int Get(const QCommandLineParser& parser)
{
    return Run(parser, IHttpRequest::GET, QStringLiteral("get"));
}

int Post(const QCommandLineParser& parser)
{
    return Run(parser, IHttpRequest::POST, QStringLiteral("post"));
}

const CommandRegistration registration{
    {QStringLiteral("get"), QStringLiteral("URL"),
     QStringLiteral("Ask a web server for a page and print its body."), AddGetOptions, Get},
    {QStringLiteral("post"), QStringLiteral("URL"),
     QStringLiteral("Send JSON, a form or files to a web server and print the body of its answer."),
     AddPostOptions, Post},
};

} // namespace

} // namespace vxtool

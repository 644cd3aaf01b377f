#include "command.h"
#include "httpoptions.h"
#include "output.h"
#include "platform.h"

#include <common/http/ihttprequest.h>

#include <QEventLoop>
#include <QTimer>

#include <memory>

namespace vxtool
{

namespace
{

using common::http::IHttpRequest;

constexpr int tooManyRequests = 429;

/// Prints each signal, with its arguments, as one line on standard error.
void ShowSignals(const IHttpRequest* request)
{
    const auto show = [](const QString& name) {
        return [name](auto first, const auto& second) {
            PrintError(u"%1 %2 %3"_s.arg(name).arg(first).arg(second));
        };
    };
    QObject::connect(request, &IHttpRequest::downloadProgress, show(u"downloadProgress"_s));
    QObject::connect(request, &IHttpRequest::uploadProgress, show(u"uploadProgress"_s));
    QObject::connect(request, &IHttpRequest::replyFinished, [](const QNetworkReply* reply) {
        PrintError(u"replyFinished "_s +
                   reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toString());
    });
    QObject::connect(request, &IHttpRequest::requestFinishedWithBinaryData, [](const QByteArray& body) {
        PrintError(u"requestFinishedWithBinaryData %1"_s.arg(body.size()));
    });
    QObject::connect(request, &IHttpRequest::requestFinished,
                     [](const QString& body) { PrintError(u"requestFinished %1"_s.arg(body.size())); });
    QObject::connect(request, &IHttpRequest::proxyError, show(u"proxyError"_s));
    QObject::connect(request, &IHttpRequest::invalidOperationError, show(u"invalidOperationError"_s));
    QObject::connect(request, &IHttpRequest::requestError, show(u"requestError"_s));
}

/// Calls `onIdle` once `request` has been idle for longer than the interval between attempts. The cause is a
/// retry that could not be sent, which only the log reports.
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

int RunRequest(const QCommandLineParser& parser, IHttpRequest& request, const StatusKeeper& manager,
               IHttpRequest::HTTPRequestMethod method)
{
    QEventLoop loop;
    QString complaint;
    bool isPrinted = true;
    const auto fail = [&](const QString& reason) {
        complaint = reason;
        loop.quit();
    };
    QObject::connect(&request, &IHttpRequest::requestFinishedWithBinaryData, &loop,
                     [&](const QByteArray& body) { isPrinted = PrintBody(parser, body); });
    QObject::connect(&request, &IHttpRequest::requestFinished, &loop, &QEventLoop::quit);
    QObject::connect(&request, &IHttpRequest::requestError, &loop, [&](int error, const QString& text) {
        // 429 is never the last error: a retry or a second error with the reply's own code follows.
        if (error != tooManyRequests) {
            fail(manager.ErrorText(request.GetUrl(), error, text));
        }
    });
    platform::OnInterrupt([&] {
        request.Abort();
        fail(u"interrupted"_s);
    });
    QTimer idleTimer;
    if (!request.Send(method)) {
        complaint = u"the request could not be sent: "_s + TakeLibraryError();
    } else {
        WatchIdleness(request, idleTimer,
                      [&] { fail(u"the retry could not be sent: "_s + TakeLibraryError()); });
        loop.exec();
    }
    return complaint.isEmpty() ? ExitCodeOf(isPrinted) : Fail(complaint);
}

/// Returns a command that sends a request.
Run Send(IHttpRequest::HTTPRequestMethod method)
{
    return [method](const QCommandLineParser& parser) -> int {
        StatusKeeper manager;
        const std::unique_ptr<IHttpRequest> request(common::http::CreateHttpRequest(&manager, nullptr));
        if (!ApplyHttpOptions(parser, *request)) {
            return WrongUsage;
        }
        if (parser.isSet(u"verbose"_s)) {
            ShowSignals(request.get());
        }
        return RunRequest(parser, *request, manager, method);
    };
}

const CommandRegistration registration([] {
    return CommandList{
        {u"get"_s, u"URL"_s, u"Print the body of a web server's response."_s, GetOptions(),
         Send(IHttpRequest::GET), QString(), u"vxtool get --timeout 10 --attempts 3 https://example.org/"_s},
        {u"post"_s, u"URL"_s, u"Send JSON, a form or files to a web server."_s, PostOptions(),
         Send(IHttpRequest::POST), u"Prints the body of the response."_s,
         u"echo '{\"n\": 1}' | vxtool post --json-file - https://example.org/api"_s},
    };
});

} // namespace

} // namespace vxtool

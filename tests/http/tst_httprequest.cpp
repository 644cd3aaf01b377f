#include "faultserver.h"
#include "signalrecorder.h"

#include "logger/recordinglogger.h"

#include <common/http/httprequest.h>
#include <common/http/ihttprequestmultipartdata.h>
#include <common/tools/qcompressor.h>

#include <QElapsedTimer>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QTest>

#include <functional>
#include <memory>

using namespace common::http;

namespace
{

QByteArray Gzip(const QByteArray& content)
{
    QByteArray packed;
    tools::QCompressor::gzipCompress(content, packed, 6);
    return packed;
}

/// A port where nobody listens.
quint16 ClosedPort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

/// Ends with an error code that no server on the loopback can bring about.
class FailedReply : public QNetworkReply
{
public:
    explicit FailedReply(int error)
    {
        open(ReadOnly);
        setError(static_cast<NetworkError>(error), "as told");
        setFinished(true);
        QMetaObject::invokeMethod(this, "finished", Qt::QueuedConnection);
    }
    void abort() override {}
    qint64 readData(char* /*data*/, qint64 /*size*/) override { return -1; }
};

class FailingManager : public QNetworkAccessManager
{
public:
    int error = 0;

protected:
    QNetworkReply* createRequest(Operation /*op*/, const QNetworkRequest& /*request*/,
                                 QIODevice* /*data*/) override
    {
        return new FailedReply(error);
    }
};

/// A form whose parts could not be opened.
class BrokenForm : public IHttpRequestMultiPartData
{
    QHttpMultiPart* MultiPart() override { return nullptr; }
    void AddPart(const QSharedPointer<IHttpRequestPartData>& /*part*/) override {}
};

} // namespace

class TestHttpRequest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void defaults();
    void wire_data();
    void wire();
    void notSent_data();
    void notSent();
    void outcome_data();
    void outcome();
    void rareErrors_data();
    void rareErrors();
    void proxies_data();
    void proxies();
    void logLines();
    void retryTiming();
    void silence();
    void abortIsSilent();
    void sendWhileWaiting();
    void managerDies();
    void unknownReply();
    void actionInsideSignal_data();
    void actionInsideSignal();
    void manyInParallel();

private:
    void Send(const FaultServer& server);

    std::unique_ptr<QNetworkAccessManager> manager;
    std::unique_ptr<IHttpRequest> request;
    std::unique_ptr<SignalRecorder> told;
};

void TestHttpRequest::init()
{
    manager = std::make_unique<QNetworkAccessManager>();
    manager->setProxy(QNetworkProxy::NoProxy);
    request.reset(CreateHttpRequest(manager.get(), nullptr));
    request->SetAttemptIntervalOnNetworkProblem(0);
    told = std::make_unique<SignalRecorder>(request.get());
}

void TestHttpRequest::cleanup()
{
    told.reset();
    request.reset();
    manager.reset();
}

void TestHttpRequest::Send(const FaultServer& server)
{
    request->SetUrl(server.Url());
    QVERIFY(request->Get());
    QVERIFY(request->isRunning());
    QTRY_VERIFY_WITH_TIMEOUT(told->HasEnded() && !request->isRunning(), 20000);
}

void TestHttpRequest::defaults()
{
    const std::unique_ptr<IHttpRequest> fresh(CreateHttpRequest(manager.get(), nullptr));
    QCOMPARE(fresh->GetTimeout(), 0);
    QCOMPARE(fresh->GetAttemptCountOnNetworkProblem(), 1);
    QCOMPARE(fresh->GetAttemptIntervalOnNetworkProblem(), 20);
    QVERIFY(!fresh->IgnoreSSLErrors() && !fresh->isRunning() && fresh->Reply() == nullptr);
    QCOMPARE(fresh->GetRawHeader("X"), QString());
    QVERIFY(!fresh->GetAttribute(QNetworkRequest::User).isValid());
    QObject parent;
    QCOMPARE(CreateHttpRequest(nullptr, &parent)->parent(), &parent);
}

void TestHttpRequest::wire_data()
{
    QTest::addColumn<bool>("post");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QStringList>("headers"); // NAME:VALUE
    QTest::addColumn<QString>("payload");     // json {"n":1}, map a=1 2, empty map, or nothing
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("plain GET") << false << "/p?q=1" << QStringList{} << ""
                               << QStringList{"GET /p?q=1 HTTP/1.1\r\n", "\r\nAccept-Encoding: gzip\r\n"};
    QTest::newRow("own coding") << false << "/" << QStringList{"Accept-Encoding:identity", "X-A:é"} << ""
                                << QStringList{"\r\nAccept-Encoding: identity\r\n", "\r\nX-A: é\r\n"};
    QTest::newRow("own coding in other case is replaced")
        << false << "/" << QStringList{"accept-encoding:identity"} << ""
        << QStringList{"ccept-Encoding: gzip\r\n"};
    QTest::newRow("map as query") << false << "/p" << QStringList{} << "map"
                                  << QStringList{"GET /p?a=1%202 "};
    QTest::newRow("map behind a query")
        << false << "/p?q=1" << QStringList{} << "map" << QStringList{"GET /p?q=1?a=1%202 "};
    QTest::newRow("empty map") << false << "/p" << QStringList{} << "empty map" << QStringList{"GET /p HTTP"};
    QTest::newRow("POST of nothing") << true << "/p" << QStringList{} << ""
                                     << QStringList{"POST /p HTTP/1.1\r\n", "Content-Length: 0\r\n"};
    QTest::newRow("POST of JSON") << true << "/p" << QStringList{"Content-Type:text/css"} << "json"
                                  << QStringList{"\r\nContent-Type: application/json\r\n",
                                                 "\r\n\r\n{\"n\":1}"};
    QTest::newRow("POST of a map") << true << "/p" << QStringList{} << "map"
                                   << QStringList{"\r\nContent-Type: application/x-www-form-urlencoded\r\n",
                                                  "\r\n\r\na=1%202"};
}

void TestHttpRequest::wire()
{
    QFETCH(bool, post);
    QFETCH(QString, path);
    QFETCH(QStringList, headers);
    QFETCH(QString, payload);
    QFETCH(QStringList, expected);

    FaultServer server({{Response("200 OK", "")}});
    request->SetUrl(server.Url(path));
    for (const QString& header : headers) {
        request->SetRawHeader(header.section(':', 0, 0), header.section(':', 1));
    }
    if (payload == "json") {
        request->SetData(IHttpRequestSimpleData::CreateJsonData({{"n", 1}}));
    } else if (!payload.isEmpty()) {
        const auto map = IHttpRequestDataMap::CreateUrlencodedDataMap();
        if (payload == "map") {
            map->SetValue("a", "1 2");
        }
        request->SetData(map);
    }
    QVERIFY(post ? request->Post() : request->Get());
    QTRY_VERIFY(told->HasEnded());
    QCOMPARE(told->Told(), QString("replyFinished, binary, finished"));
    const QString raw = QString::fromUtf8(server.Requests().value(0));
    for (const QString& part : expected) {
        QVERIFY2(raw.contains(part), qPrintable(raw));
    }
    QCOMPARE(raw.count("ccept-Encoding:", Qt::CaseInsensitive), 1);
    if (payload.isEmpty()) {
        QVERIFY2(!raw.contains("Content-Type"), qPrintable(raw));
    }
}

void TestHttpRequest::notSent_data()
{
    QTest::addColumn<QString>("fault");
    QTest::addColumn<int>("method");
    QTest::addColumn<QStringList>("lines");

    const QString general = "Failed to send request to URL='http://h/'";
    QTest::newRow("no manager") << "manager" << 1
                                << QStringList{"Failed to  SendRequest(): HttpRequestManager is NULL!"};
    QTest::newRow("unknown method") << "" << 7 << QStringList{general};
    QTest::newRow("GET with a JSON map")
        << "json map" << 1
        << QStringList{"Failed to send GET request to URL='http://h/'. Invalid request parameters type",
                       general};
    QTest::newRow("form that cannot be built")
        << "form" << 0
        << QStringList{"Failed to create multipart/form-data POST request to URL='http://h/'.", general};
    QTest::newRow("unknown payload") << "payload" << 0 << QStringList{general};
}

void TestHttpRequest::notSent()
{
    QFETCH(QString, fault);
    QFETCH(int, method);
    QFETCH(QStringList, lines);

    request->SetUrl(QUrl("http://h/"));
    if (fault == "manager") {
        manager.reset();
    } else if (fault == "json map") {
        request->SetData(IHttpRequestDataMap::CreateJsonDataMap());
    } else if (fault == "form") {
        request->SetData(QSharedPointer<BrokenForm>::create());
    } else if (fault == "payload") {
        request->SetData(QSharedPointer<IHttpRequestData>::create());
    }
    RecordingLogger log;
    QVERIFY(!request->Send(static_cast<IHttpRequest::HTTPRequestMethod>(method)));
    QVERIFY(request->Reply() == nullptr);
    QCOMPARE(log.lines.size(), std::size_t(lines.size()));
    for (qsizetype i = 0; i < lines.size(); ++i) {
        QCOMPARE(log.lines[std::size_t(i)].text, QString("[%1]: ").arg(qHash(request.get())) + lines.at(i));
        QCOMPARE(log.lines[std::size_t(i)].channel, QByteArray("http.request"));
    }
    QCOMPARE(log.lines.back().level, fault == "manager" ? 2 : 3);
    QCOMPARE(told->events, QStringList());
}

void TestHttpRequest::outcome_data()
{
    QTest::addColumn<QList<Answer>>("answers");
    QTest::addColumn<int>("attempts");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("connections"); // -1 for any number.

    const auto row = [](const char* name, const QList<Answer>& answers, int attempts, const char* expected,
                        const QByteArray& body, int connections) {
        QTest::newRow(name) << answers << attempts << expected << body << connections;
    };
    const auto coded = [](const QByteArray& coding, const QByteArray& body) {
        return QList<Answer>{{Response("200 OK", body, "Content-Encoding: " + coding + "\r\n")}};
    };
    const char* const success = "replyFinished, binary, finished";
    const QByteArray large(100 * 1024 * 1024, 'l');

    row("success", {{Response("200 OK", "a\xff")}}, 3, success, "a\xff", 1);
    row("gzip", coded("gzip", Gzip("text")), 1, success, "text", 1);
    row("gzip of nothing", coded("gzip", ""), 1, success, "", 1);
    row("broken gzip", coded("gzip", "text"), 1, success, "text", 1);
    row("gzip cut short", coded("gzip", Gzip("text").chopped(1)), 1, success, Gzip("text").chopped(1), 1);
    row("GZIP is not known", coded("GZIP", Gzip("text")), 1, success, Gzip("text"), 1);
    row("two codings are not known", coded("gzip, deflate", Gzip("text")), 1, success, Gzip("text"), 1);
    row("chunked", {{"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\nab\r\n1\r\nc\r\n0\r\n\r\n"}},
        1, success, "abc", 1);
    row("100 MB without a length", {{"HTTP/1.1 200 OK\r\n\r\n" + large}}, 1, success, large, 1);

    // Not retried, and with the body that the server sent.
    const QList<QPair<QByteArray, int>> refusals{
        {"400 Bad Request", 302}, {"401 Unauthorized", 204}, {"403 Forbidden", 201},
        {"404 Not Found", 203},   {"405 Not Allowed", 202},  {"409 Conflict", 206},
        {"410 Gone", 207},        {"451 Unavailable", 299},  {"500 Internal", 401},
        {"501 Unknown", 402},     {"503 Unavailable", 403},  {"599 Whatever", 499}};
    for (const auto& [status, code] : refusals) {
        const QString expected =
            QStringLiteral("replyFinished%1, error %2 4").arg(code == 302 ? ", invalid 302" : "").arg(code);
        row(status.constData(), {{Response(status, "body")}}, 3, qPrintable(expected), "body", 1);
    }
    row("error page as gzip", {{Response("404 Not Found", Gzip("page"), "Content-Encoding: gzip\r\n")}}, 1,
        "replyFinished, error 203 4", "page", 1);
    row("no HTTP at all", {{"SSH-2.0-OpenSSH\r\n\r\n"}}, 2, "replyFinished, replyFinished, error 2 0", "",
        -1);
    row("redirects for ever", {{Response("302 Found", "", "Location: /\r\n")}}, 3,
        "replyFinished, error 10 0", "", -1);

    // Network problems: silent but for replyFinished until the last try.
    const QByteArray half = Response("200 OK", "body").chopped(2);
    // Qt sends such a request again by itself before it gives up.
    row("ends before the request is read", {{"", Answer::Close, 0, 1, false}}, 1, "replyFinished, error 2 0",
        "", -1);
    row("ends inside the headers", {{half.left(20)}}, 1, "replyFinished, error 2 0", "", -1);
    // How much of a body that was cut off Qt still delivers differs from time to time.
    row("ends inside the body", {{half}}, 2, "replyFinished, replyFinished, error 2", "bo", 2);
    row("reset inside the body", {{half, Answer::Reset}}, 2, "replyFinished, replyFinished, error 2", "bo",
        2);
    row("success at the second try", {{half}, {Response("200 OK", "b")}}, 2,
        "replyFinished, replyFinished, binary, finished", "b", 2);
    row("ends inside the body, one try", {{half}}, 0, "replyFinished, error 2", "bo", 1);

    const Answer busy{Response("429 Too Many Requests", "wait")};
    row("429, one try", {busy}, 1, "replyFinished, error 429 0, error 299 4", "wait", 1);
    row("429, two tries", {busy}, 2, "replyFinished, error 429 0, replyFinished, error 429 0, error 299 4",
        "wait", 2);
    row("429 without a body", {{Response("429 Too Many Requests", "")}}, 1,
        "replyFinished, error 429 0, error 299 0", "", 1);
    row("success behind a 429", {busy, {Response("200 OK", "b")}}, 2,
        "replyFinished, error 429 0, replyFinished, binary, finished", "b", 2);
}

void TestHttpRequest::outcome()
{
    QFETCH(QList<Answer>, answers);
    QFETCH(int, attempts);
    QFETCH(QString, expected);
    QFETCH(QByteArray, body);
    QFETCH(int, connections);

    FaultServer server(answers);
    request->SetAttemptCountOnNetworkProblem(attempts);
    request->SetUrl(server.Url());
    QVERIFY(request->Get());
    const bool cut = expected.endsWith("error 2");
    QTRY_COMPARE_WITH_TIMEOUT(cut ? told->Told().left(expected.size()) : told->Told(), expected, 10000);
    QVERIFY(cut ? body.startsWith(told->binaryBody) : told->binaryBody == body);
    if (expected.endsWith("finished")) {
        QVERIFY(told->textBody == QString::fromUtf8(body));
    }
    if (connections > 0) {
        QCOMPARE(server.Connections(), connections);
    }
    QVERIFY(request->Reply() != nullptr && !request->isRunning());
    // After the end an abort leaves the reply and says nothing.
    request->Abort();
    QVERIFY(request->Reply() != nullptr);
    QVERIFY(told->Told().startsWith(expected));
}

void TestHttpRequest::rareErrors_data()
{
    QTest::addColumn<int>("error");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<QString>("name");

    const auto row = [](int error, const QString& expected, const char* name) {
        QTest::addRow("%d", error) << error << expected.arg(error) << name;
    };
    const QString network = "replyFinished, replyFinished, error %1 0";
    row(4, network, "TimeoutError");
    row(7, network, "TemporaryNetworkFailureError");
    row(8, network, "NetworkSessionFailedError");
    row(9, network, "BackgroundRequestNotAllowedError");
    row(99, network, "UnknownNetworkError");
    row(11, "replyFinished, error %1 0", "InsecureRedirectError");
    row(101, "replyFinished, proxy %1, error %1 0", "ProxyConnectionRefusedError");
    row(103, "replyFinished, proxy %1, error %1 0", "ProxyNotFoundError");
    row(104, "replyFinished, proxy %1, error %1 0", "ProxyTimeoutError");
    row(199, "replyFinished, proxy %1, error %1 0", "UnknownProxyError");
    row(205, "replyFinished, error %1 0", "ContentReSendError");
    row(100, "replyFinished, error %1 0", "UnknownError");
}

void TestHttpRequest::rareErrors()
{
    QFETCH(int, error);
    QFETCH(QString, expected);
    QFETCH(QString, name);

    FailingManager failing;
    failing.error = error;
    request.reset(CreateHttpRequest(&failing, nullptr));
    told = std::make_unique<SignalRecorder>(request.get());
    request->SetAttemptCountOnNetworkProblem(2);
    request->SetAttemptIntervalOnNetworkProblem(0);
    RecordingLogger log;
    request->SetUrl(QUrl("http://h/"));
    QVERIFY(request->Get());
    QTRY_COMPARE(told->Told(), expected);
    QCOMPARE(told->errorText, QString("as told"));
    const auto line = std::find_if(log.lines.begin(), log.lines.end(),
                                   [](const auto& entry) { return entry.text.contains("Accepted"); });
    QVERIFY(line != log.lines.end());
    QVERIFY2(line->text.endsWith(QString("0/;    %1 (as told), URL='', attempt='0'.").arg(name)),
             qPrintable(line->text));
    request.reset();
}

void TestHttpRequest::proxies_data()
{
    QTest::addColumn<int>("error");

    QTest::newRow("102, hangs up") << 102;
    QTest::newRow("105, wants a password") << 105;
}

void TestHttpRequest::proxies()
{
    QFETCH(int, error);

    FaultServer proxy({{error == 105 ? Response("407 Who", "", "Proxy-Authenticate: Basic realm=\"r\"\r\n")
                                     : QByteArray()}});
    manager->setProxy(QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1", proxy.serverPort()));
    request->SetAttemptCountOnNetworkProblem(3);
    request->SetUrl(QUrl("https://127.0.0.1:1/"));
    QVERIFY(request->Get());
    QTRY_COMPARE(told->Told(), QString("replyFinished, proxy %1, error %1 0").arg(error));
}

void TestHttpRequest::logLines()
{
    FaultServer server({{Response("200 Fine", "x")}});
    RecordingLogger log;
    const auto map = IHttpRequestDataMap::CreateUrlencodedDataMap();
    map->SetValue("a", "%1");
    request->SetData(map);
    request->SetUrl(server.Url());
    QVERIFY(request->Get());
    QTRY_VERIFY(told->HasEnded());
    const QString url = server.Url("/?a=%251").toString();
    const QString self = QString::number(qHash(request.get()));
    const QString reply = QString::number(qHash(request->Reply()));
    QCOMPARE(log.lines.size(), std::size_t(2));
    QCOMPARE(log.lines[0].text,
             QString("[" + self + "]: Sending GET request to URL='" + url + "', attempt='0'."));
    QCOMPARE(log.lines[1].text,
             QString("[" + self + ", " + reply + "]: Accepted reply from server: 200/Fine; URL='" + url +
                     "', attempt='0'."));
    QCOMPARE(log.lines[1].level, int(common::logger::Debug));
}

void TestHttpRequest::retryTiming()
{
    request->SetUrl(QUrl(QString("http://127.0.0.1:%1/").arg(ClosedPort())));
    request->SetAttemptCountOnNetworkProblem(3);
    request->SetAttemptIntervalOnNetworkProblem(1);
    RecordingLogger log;
    QElapsedTimer time;
    time.start();
    QVERIFY(request->Get());
    QTRY_VERIFY_WITH_TIMEOUT(told->HasEnded(), 20000);
    // Two intervals; QTimer's coarse type may come 5 % early.
    QVERIFY2(time.elapsed() >= 1900, qPrintable(QString::number(time.elapsed())));
    QCOMPARE(told->Told(), QString("replyFinished, replyFinished, replyFinished, error 1 0"));
    QStringList texts;
    for (const auto& line : log.lines) {
        texts += line.text.section("]: ", 1);
    }
    QCOMPARE(texts.size(), 6);
    for (int attempt = 0; attempt < 3; ++attempt) {
        QVERIFY2(texts.at(2 * attempt).endsWith(QString("attempt='%1'.").arg(attempt)),
                 qPrintable(texts.join('\n')));
        QVERIFY(texts.at(2 * attempt).contains("0/;    ConnectionRefusedError ("));
        QCOMPARE(texts.at(2 * attempt + 1),
                 QString(attempt < 2 ? "The next request attempt will be taken in '1' seconds."
                                     : "Cannot retry request. The attempt count reached maximum."));
    }
}

void TestHttpRequest::silence()
{
    // Five seconds of a byte now and then are no silence.
    const QByteArray body(50, 't');
    FaultServer slow({{Response("200 OK", body), Answer::Close, 100, 1}});
    request->SetTimeout(1);
    Send(slow);
    QCOMPARE(told->events.last(), QString("finished"));
    QCOMPARE(told->binaryBody, body);

    FaultServer dead({{Response("200 OK", body).chopped(9), Answer::Hang}});
    told->events.clear();
    request->SetAttemptCountOnNetworkProblem(2);
    request->SetUrl(dead.Url());
    QVERIFY(request->Get());
    const QPointer<QNetworkReply> first = request->Reply();
    QTRY_VERIFY_WITH_TIMEOUT(told->HasEnded(), 20000);
    QCOMPARE(told->Told(), QString("error 4 0"));
    QCOMPARE(told->errorText, QString("Request timed out"));
    QVERIFY(first.isNull() && request->Reply() == nullptr && !request->isRunning());
    QCOMPARE(dead.Connections(), 2);
    QTRY_COMPARE(dead.OpenConnections(), 0);
}

void TestHttpRequest::abortIsSilent()
{
    FaultServer server({{Response("200 OK", "body").chopped(1), Answer::Hang}});
    request->SetUrl(server.Url());
    QVERIFY(request->Get());
    QTRY_COMPARE(server.OpenConnections(), 1);
    const QPointer<QNetworkReply> reply = request->Reply();
    request->Abort();
    QVERIFY(reply.isNull() && request->Reply() == nullptr);
    QTRY_COMPARE(server.OpenConnections(), 0);

    // A waiting retry is cancelled, too, and the reply that failed stays.
    FaultServer closing({{""}});
    request->SetUrl(closing.Url());
    request->SetAttemptCountOnNetworkProblem(2);
    request->SetAttemptIntervalOnNetworkProblem(1);
    QVERIFY(request->Get());
    told->events.clear();
    QTRY_COMPARE(told->Told(), QString("replyFinished"));
    const int connections = closing.Connections();
    request->Abort();
    QVERIFY(request->Reply() != nullptr);
    QTest::qWait(1200);
    QCOMPARE(closing.Connections(), connections);

    // Nor does a running one tell of its end when it is sent again or destroyed.
    told->events.clear();
    QVERIFY(request->Get());
    const QPointer<QNetworkReply> dropped = request->Reply();
    request->SetUrl(server.Url());
    QVERIFY(request->Get());
    QVERIFY(dropped.isNull());
    QTRY_COMPARE(server.OpenConnections(), 1);
    request.reset();
    QTRY_COMPARE(server.OpenConnections(), 0);
    QCOMPARE(told->Told(), QString());
}

void TestHttpRequest::sendWhileWaiting()
{
    // After a time-out there is no reply that a new send could abort, so the retry of the old one still
    // comes.
    FaultServer server({{"", Answer::Hang}});
    request->SetUrl(server.Url());
    request->SetTimeout(1);
    request->SetAttemptCountOnNetworkProblem(5);
    request->SetAttemptIntervalOnNetworkProblem(1);
    RecordingLogger log;
    QVERIFY(request->Get());
    const auto logged = [&log](const QString& text) {
        return std::count_if(log.lines.begin(), log.lines.end(),
                             [&text](const auto& line) { return line.text.contains(text); });
    };
    QTRY_COMPARE(logged("The next request attempt"), 1);
    request->SetTimeout(0);
    QVERIFY(request->Get());
    const QPointer<QNetworkReply> reply = request->Reply();
    QTRY_VERIFY(reply.isNull());
    QTRY_COMPARE(server.Connections(), 3);
    QVERIFY(request->isRunning());
    QCOMPARE(told->events, QStringList());
}

void TestHttpRequest::managerDies()
{
    FaultServer server({{"", Answer::Hang}});
    request->SetUrl(server.Url());
    request->SetTimeout(1);
    QVERIFY(request->Get());
    QTRY_COMPARE(server.OpenConnections(), 1);
    manager.reset();
    QVERIFY(request->Reply() == nullptr && !request->isRunning());
    QVERIFY(!request->Get());
}

void TestHttpRequest::unknownReply()
{
    RecordingLogger log;
    QVERIFY(QMetaObject::invokeMethod(request.get(), "OnRequestFinished"));
    FaultServer server({{"", Answer::Hang}});
    request->SetUrl(server.Url());
    QVERIFY(request->Get());
    QVERIFY(QMetaObject::invokeMethod(request.get(), "OnRequestFinished"));
    QCOMPARE(log.lines.size(), std::size_t(2));
    QVERIFY(log.lines[0].text.endsWith("]: Cannot process QNetworkReply = NULL"));
    QVERIFY(log.lines[1].text.endsWith("]: Cannot process unknown QNetworkReply"));
    QCOMPARE(log.lines[1].level, int(common::logger::Crit));
    QVERIFY(request->isRunning());
}

void TestHttpRequest::actionInsideSignal_data()
{
    QTest::addColumn<QString>("where");
    QTest::addColumn<QString>("action");

    // A "*" is a signal of the reply itself; "own" lets the caller abort the reply, not the request.
    for (const char* where :
         {"down", "down at the end", "up", "replyFinished", "binary", "finished", "error", "429", "invalid",
          "proxy", "time-out", "*metaDataChanged", "*readyRead", "*finished", "own *aboutToClose",
          "own *errorOccurred", "own replyFinished", "own down"}) {
        for (const char* action : {"abort", "send", "delete", "nested"}) {
            QTest::addRow("%s, %s", where, action) << where << action;
        }
    }
}

void TestHttpRequest::actionInsideSignal()
{
    QFETCH(QString, where);
    QFETCH(QString, action);

    const QByteArray ok = Response("200 OK", "body");
    QList<Answer> answers{{ok}};
    if (where == "error") {
        answers = {{Response("404 No", "body")}};
    } else if (where == "proxy") {
        answers = {{""}};
    } else if (where == "429") {
        answers = {{Response("429 Busy", "body")}};
    } else if (where == "invalid") {
        answers = {{Response("400 Bad", "body")}};
    } else if (where == "time-out" || where.startsWith("own")) {
        answers = {{ok.chopped(1), Answer::Hang}};
    } else if (where == "down") {
        // Long enough for a progress before the last one.
        answers = {{Response("200 OK", QByteArray(40, 'x')), Answer::Close, 150, 20}};
    }
    FaultServer server(answers);
    FaultServer other({{ok}});
    request->SetUrl(server.Url());
    request->SetAttemptCountOnNetworkProblem(2);
    if (where == "time-out") {
        request->SetAttemptCountOnNetworkProblem(1);
        request->SetTimeout(1);
    } else if (where == "up") {
        const auto map = IHttpRequestDataMap::CreateJsonDataMap();
        map->SetValue("a", QString(100000, 'x'));
        request->SetData(map);
    } else if (where == "proxy") {
        manager->setProxy(QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1", server.serverPort()));
        request->SetUrl(QUrl("https://127.0.0.1:1/"));
    }

    int calls = 0;
    bool acted = false;
    const auto act = [&] {
        if (std::exchange(acted, true)) {
            return;
        }
        ++calls;
        manager->setProxy(QNetworkProxy::NoProxy);
        if (action == "nested") {
            QTimer::singleShot(0, this, [this] { request.reset(); });
            QEventLoop loop;
            QTimer::singleShot(20, &loop, &QEventLoop::quit);
            loop.exec();
        } else if (action == "delete") {
            request.reset();
        } else if (action == "send") {
            told->events.clear();
            request->SetTimeout(0);
            request->SetData({});
            request->SetUrl(other.Url());
            QVERIFY(request->Get());
        } else {
            request->Abort();
        }
    };
    const QString name = where.startsWith("own ") ? where.mid(4) : where;
    QVERIFY(where == "up" ? request->Post() : request->Get());
    const QPointer<QNetworkReply> reply = request->Reply();
    auto* const sender = request.get();
    if (name == "down") {
        connect(sender, &IHttpRequest::downloadProgress, this, act);
    } else if (name == "down at the end") {
        connect(sender, &IHttpRequest::downloadProgress, this, [&act](qint64 received, qint64 total) {
            if (received == total) {
                act();
            }
        });
    } else if (name == "up") {
        connect(sender, &IHttpRequest::uploadProgress, this, act);
    } else if (name == "replyFinished") {
        connect(sender, &IHttpRequest::replyFinished, this, act);
    } else if (name == "binary") {
        connect(sender, &IHttpRequest::requestFinishedWithBinaryData, this, act);
    } else if (name == "finished") {
        connect(sender, &IHttpRequest::requestFinished, this, act);
    } else if (name == "proxy") {
        connect(sender, &IHttpRequest::proxyError, this, act);
    } else if (name == "invalid") {
        connect(sender, &IHttpRequest::invalidOperationError, this, act);
    } else if (name == "*metaDataChanged") {
        connect(reply, &QNetworkReply::metaDataChanged, this, act);
    } else if (name == "*readyRead") {
        connect(reply, &QNetworkReply::readyRead, this, act);
    } else if (name == "*finished") {
        connect(reply, &QNetworkReply::finished, this, act);
    } else if (name == "*aboutToClose") {
        connect(reply, &QNetworkReply::aboutToClose, this, act);
    } else if (name == "*errorOccurred") {
        connect(reply, &QNetworkReply::errorOccurred, this, act);
    } else {
        connect(sender, &IHttpRequest::requestError, this, act);
    }
    if (where.startsWith("own")) {
        QTRY_VERIFY(reply.isNull() || reply->bytesAvailable() > 0);
        // A first progress may have come already. From an event loop, as in a real program.
        QEventLoop loop;
        QTimer::singleShot(0, &loop, [reply, &loop] {
            if (!reply.isNull()) {
                reply->abort();
            }
            loop.quit();
        });
        loop.exec();
    }
    QTRY_COMPARE_WITH_TIMEOUT(calls, 1, 10000);
    if (action == "send") {
        QTRY_VERIFY(told->HasEnded());
        QCOMPARE(told->Told(), QString("replyFinished, binary, finished"));
        QCOMPARE(other.Connections(), 1);
    } else if (action == "delete" || action == "nested") {
        QTRY_VERIFY(request == nullptr);
    }
    if (action != "abort") {
        QTRY_VERIFY(reply.isNull());
    }
}

void TestHttpRequest::manyInParallel()
{
    const QByteArray ok = Response("200 OK", "body");
    const QList<QPair<Answer, QString>> kinds{
        {{ok}, "replyFinished, binary, finished"},
        {{Response("404 No", "body")}, "replyFinished, error 203 4"},
        {{Response("400 Bad", "body")}, "replyFinished, invalid 302, error 302 4"},
        {{Response("429 Busy", "wait")},
         "replyFinished, error 429 0, replyFinished, error 429 0, error 299 4"},
        {{ok.chopped(2)}, "replyFinished, replyFinished, error 2"},
        {{"", Answer::Hang}, "error 4 0"},
    };
    std::vector<std::unique_ptr<FaultServer>> servers;
    std::vector<std::unique_ptr<IHttpRequest>> requests;
    std::vector<std::unique_ptr<SignalRecorder>> recorders;
    for (const auto& kind : kinds) {
        servers.push_back(std::make_unique<FaultServer>(QList<Answer>{kind.first}));
    }
    constexpr std::size_t count = 500;
    for (std::size_t i = 0; i < count; ++i) {
        auto& one = requests.emplace_back(CreateHttpRequest(manager.get(), nullptr));
        recorders.push_back(std::make_unique<SignalRecorder>(one.get()));
        one->SetUrl(servers[i % servers.size()]->Url());
        one->SetAttemptCountOnNetworkProblem(2);
        one->SetAttemptIntervalOnNetworkProblem(0);
        // Qt has six requests to a host on their way; the others wait, and the silent ones make them wait
        // long.
        one->SetTimeout(i % servers.size() == 5 ? 1 : 60);
        QVERIFY(one->Get());
    }
    QTRY_VERIFY_WITH_TIMEOUT(std::all_of(recorders.begin(), recorders.end(),
                                         [](const auto& recorder) {
                                             const QString last =
                                                 recorder->events.value(recorder->events.size() - 1);
                                             return recorder->HasEnded() && last != "error 429 0";
                                         }),
                             60000);
    for (std::size_t i = 0; i < count; ++i) {
        const QString& expected = kinds.at(qsizetype(i % servers.size())).second;
        const QString actual = recorders[i]->Told();
        QCOMPARE(expected.endsWith("error 2") ? actual.left(expected.size()) : actual, expected);
    }
}

QTEST_GUILESS_MAIN(TestHttpRequest)
#include "tst_httprequest.moc"

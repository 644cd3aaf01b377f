#include "faultserver.h"
#include "recordedrequest.h"

#include "logger/recordinglogger.h"

#include <common/http/httprequest.h>
#include <common/tools/qcompressor.h>

#include <QElapsedTimer>
#include <QTest>

#include <vector>

using namespace common::http;

namespace
{

const QString success = "replyFinished, binary, finished";

/// Ends with an error code that no server on the loopback can bring about.
class FailedReply : public QNetworkReply
{
public:
    explicit FailedReply(int error)
    {
        open(ReadOnly);
        setError(static_cast<NetworkError>(error), "as told");
        QMetaObject::invokeMethod(this, "finished", Qt::QueuedConnection);
    }
    void abort() override { setFinished(true); }
    qint64 readData(char* /*data*/, qint64 /*size*/) override { return -1; }
};

class FailingManager : public QNetworkAccessManager
{
public:
    int error = 0;

protected:
    QNetworkReply* createRequest(Operation /*operation*/, const QNetworkRequest& /*request*/,
                                 QIODevice* /*data*/) override
    {
        return new FailedReply(error);
    }
};

} // namespace

class TestHttpRequest : public QObject, private RecordedRequest
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void outcome_data();
    void outcome();
    void rareErrors_data();
    void rareErrors();
    void logLines();
    void retryTiming();
    void silence();
    void abortIsSilent();
    void retryWaits();
    void managerDies();
    void actionInsideSignal_data();
    void actionInsideSignal();
    void manyInParallel();

public Q_SLOTS:
    void Act();

private:
    void Get(const FaultServer& server);
    QString Log() const;

    RecordingLogger log;
    QString action;
    QUrl actionUrl;
    bool hasActed = false;
};

void TestHttpRequest::init()
{
    Renew();
    log.lines.clear();
}

void TestHttpRequest::Get(const FaultServer& server)
{
    told->events.clear();
    request->SetUrl(server.Url());
    QVERIFY(request->Get());
    QVERIFY(request->isRunning());
}

/// With levels, and "R" and "r" for the numbers of request and reply.
QString TestHttpRequest::Log() const
{
    QString text;
    for (const auto& line : log.lines) {
        text += QString::number(line.level) + ' ' + line.text + '\n';
    }
    return text.replace(QRegularExpression(" \\[\\d+"), " [R")
        .replace(QRegularExpression(", \\d+\\]"), ", r]");
}

void TestHttpRequest::outcome_data()
{
    QTest::addColumn<QList<Answer>>("answers");
    QTest::addColumn<int>("attempts");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<QByteArray>("body");

    const auto row = [](const char* name, const QList<Answer>& answers, int attempts, const QString& expected,
                        const QByteArray& body) {
        QTest::newRow(name) << answers << attempts << expected << body;
    };
    const auto coded = [row](const QByteArray& coding, const QByteArray& sent, const QByteArray& body) {
        row("coding " + coding + ' ' + sent.toHex(),
            {{Response("200 OK", sent, "Content-Encoding: " + coding + "\r\n")}}, 1, success, body);
    };
    QByteArray packed;
    tools::QCompressor::gzipCompress("text", packed, 6);
    const QByteArray large(100 * 1024 * 1024, 'l');

    row("success", {{Response("200 OK", "a\xff")}}, 3, success, "a\xff");
    row("chunked", {{"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\nab\r\n1\r\nc\r\n0\r\n\r\n"}},
        1, success, "abc");
    row("100 MB without a length", {{"HTTP/1.1 200 OK\r\n\r\n" + large}}, 1, success, large);
    coded("gzip", packed, "text");
    coded("gzip", "", "");
    coded("gzip", packed.chopped(1), packed.chopped(1));
    coded("GZIP", packed, packed);
    coded("gzip, deflate", packed, packed);

    // Not retried, and with the body that the server sent.
    const QList<QPair<QByteArray, QString>> refusals{{"400 Bad Request", "invalid 302, error 302"},
                                                     {"401 Unauthorized", "error 204"},
                                                     {"403 Forbidden", "error 201"},
                                                     {"404 Not Found", "error 203"},
                                                     {"405 Not Allowed", "error 202"},
                                                     {"409 Conflict", "error 206"},
                                                     {"410 Gone", "error 207"},
                                                     {"451 Unavailable", "error 299"},
                                                     {"500 Internal", "error 401"},
                                                     {"501 Unknown", "error 402"},
                                                     {"503 Unavailable", "error 403"},
                                                     {"599 Whatever", "error 499"}};
    for (const auto& [status, errors] : refusals) {
        row(status, {{Response(status, packed, "Content-Encoding: gzip\r\n")}}, 3,
            "replyFinished, " + errors + " 4", "text");
    }
    row("redirects for ever", {{Response("302 Found", "", "Location: /\r\n")}}, 3,
        "replyFinished, error 10 0", "");

    // Network problems: silent but for replyFinished until the last try. How much of a body that was cut off
    // Qt still delivers differs from time to time.
    const QByteArray half = Response("200 OK", "body").chopped(2);
    const QString cut = "replyFinished, error 2 ";
    row("no HTTP at all", {{"SSH-2.0-OpenSSH\r\n\r\n"}}, 2, "replyFinished, " + cut, "");
    row("ends before the headers", {{""}}, 0, cut, "");
    row("ends inside the headers", {{half.left(20)}}, -1, cut, "");
    row("ends inside the body", {{half}}, 2, "replyFinished, " + cut, "bo");
    row("reset inside the body", {{half, Answer::Reset}}, 2, "replyFinished, " + cut, "bo");
    row("success at the second try", {{half}, {Response("200 OK", "b")}}, 2, "replyFinished, " + success,
        "b");

    const Answer busy{Response("429 Too Many Requests", "wait")};
    const QString busyOnce = "replyFinished, error 429 0, ";
    row("429, one try", {busy}, 1, busyOnce + "error 299 4", "wait");
    row("429, two tries", {busy}, 2, busyOnce + busyOnce + "error 299 4", "wait");
    row("429 without a body", {{Response("429 Too Many Requests", "")}}, 1, busyOnce + "error 299 0", "");
    row("success behind a 429", {busy, {Response("200 OK", "b")}}, 2, busyOnce + success, "b");
}

void TestHttpRequest::outcome()
{
    QFETCH(QList<Answer>, answers);
    QFETCH(int, attempts);
    QFETCH(QString, expected);
    QFETCH(QByteArray, body);

    FaultServer server(answers);
    request->SetAttemptCountOnNetworkProblem(attempts);
    Get(server);
    const bool cut = expected.endsWith(' ');
    QTRY_COMPARE_WITH_TIMEOUT(cut ? told->Told().left(expected.size()) : told->Told(), expected, 10000);
    QVERIFY(cut ? body.startsWith(told->body) : told->body == body);
    QVERIFY(!expected.endsWith(success) || told->text == QString::fromUtf8(body));
    // After the end an abort leaves the reply and says nothing.
    const QStringList events = told->events;
    request->Abort();
    QVERIFY(request->Reply() != nullptr && !request->isRunning());
    QCOMPARE(told->events, events);
}

void TestHttpRequest::rareErrors_data()
{
    QTest::addColumn<int>("error");
    QTest::addColumn<QString>("expected");

    const QString network = "replyFinished, replyFinished, error %1 0";
    const QString proxy = "replyFinished, proxy %1, error %1 0";
    QTest::newRow("BackgroundRequestNotAllowedError") << 9 << network;
    QTest::newRow("UnknownError") << 100 << "replyFinished, error %1 0";
    QTest::newRow("ProxyConnectionRefusedError") << 101 << proxy;
    QTest::newRow("UnknownProxyError") << 199 << proxy;
    QTest::newRow("ContentReSendError") << 205 << "replyFinished, error %1 0";
    QTest::newRow("ProtocolFailure") << 399 << "replyFinished, error %1 0";
}

void TestHttpRequest::rareErrors()
{
    QFETCH(int, error);
    QFETCH(QString, expected);

    FailingManager failing;
    failing.error = error;
    Use(CreateHttpRequest(&failing, nullptr));
    request->SetAttemptCountOnNetworkProblem(2);
    QVERIFY(request->Get());
    QTRY_COMPARE(told->Told(), expected.arg(error));
    QVERIFY(Log().contains(QString("Accepted reply from server: 0/;    %1 (as told), URL='', attempt='0'.\n")
                               .arg(QTest::currentDataTag())));
    request.reset();
}

void TestHttpRequest::logLines()
{
    FaultServer server({{Response("200 Fine", "x", "Content-Encoding: gzip\r\n")}});
    const auto map = IHttpRequestDataMap::CreateUrlencodedDataMap();
    map->SetValue("a", "%1");
    request->SetData(map);
    Get(server);
    QTRY_VERIFY(told->HasEnded());
    const QString where = QString("URL='%1', attempt='0'.\n").arg(server.Url("/?a=%251").toString());
    QCOMPARE(Log(), "7 [R]: Sending GET request to " + where +
                        "4 [R, r]: Failed to decompress gzip, using uncompressed data!\n"
                        "7 [R, r]: Accepted reply from server: 200/Fine; " +
                        where);
}

void TestHttpRequest::retryTiming()
{
    const QUrl nowhere = FaultServer().Url();
    request->SetUrl(nowhere);
    request->SetAttemptCountOnNetworkProblem(3);
    request->SetAttemptIntervalOnNetworkProblem(1);
    QElapsedTimer time;
    time.start();
    QVERIFY(request->Get());
    QTRY_VERIFY_WITH_TIMEOUT(told->HasEnded(), 20000);
    // Two intervals; QTimer's coarse type may come 5 % early.
    QVERIFY2(time.elapsed() >= 1900, qPrintable(QString::number(time.elapsed())));
    QCOMPARE(told->Told(), QString("replyFinished, replyFinished, replyFinished, error 1 0"));
    const QString failed = "3 [R, r]: Accepted reply from server: 0/;    ConnectionRefusedError (Connection "
                           "refused), URL='%1', attempt='%2'.\n7 [R, r]: ";
    const QString next = "The next request attempt will be taken in '1' seconds.\n";
    QCOMPARE(Log(), failed.arg(nowhere.toString(), "0") + next + failed.arg(nowhere.toString(), "1") + next +
                        failed.arg(nowhere.toString(), "2") +
                        "Cannot retry request. The attempt count reached maximum.\n");
}

void TestHttpRequest::silence()
{
    // Five seconds of a byte now and then are no silence.
    const QByteArray body(50, 't');
    FaultServer slow({{Response("200 OK", body), Answer::Close, 100}});
    request->SetTimeout(1);
    Get(slow);
    QTRY_COMPARE_WITH_TIMEOUT(told->Told(), success, 20000);
    QCOMPARE(told->body, body);

    FaultServer dead({{Response("200 OK", body).chopped(9), Answer::Hang}});
    request->SetAttemptCountOnNetworkProblem(2);
    Get(dead);
    QTRY_COMPARE_WITH_TIMEOUT(told->Told(), QString("error 4 0"), 20000);
    QCOMPARE(told->text, QString("Request timed out"));
    QVERIFY(Log().contains("3 [R, r]: Request to URL='" + dead.Url().toString() +
                           "' timed out! attempt='1'.\n7 [R]: Cannot retry"));
    QVERIFY(request->Reply() == nullptr && !request->isRunning());
    QCOMPARE(dead.connections, 2);
    QTRY_COMPARE(dead.openConnections, 0);
}

void TestHttpRequest::abortIsSilent()
{
    FaultServer server({{Response("200 OK", "body").chopped(1), Answer::Hang}});
    Get(server);
    QTRY_COMPARE(server.requests.size(), 1);
    QPointer<QNetworkReply> reply = request->Reply();
    request->Abort();
    QVERIFY(reply.isNull() && request->Reply() == nullptr);
    // Nor does it tell of its end when it is sent again or destroyed.
    Get(server);
    QTRY_COMPARE(server.requests.size(), 2);
    reply = request->Reply();
    Get(server);
    QVERIFY(reply.isNull());
    QTRY_COMPARE(server.requests.size(), 3);
    request.reset();
    QTRY_COMPARE(server.openConnections, 0);
    QCOMPARE(told->Told(), QString());
}

void TestHttpRequest::retryWaits()
{
    // An abort cancels it, and the reply that failed stays.
    FaultServer closing({{"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n"}});
    request->SetAttemptCountOnNetworkProblem(5);
    request->SetAttemptIntervalOnNetworkProblem(1);
    Get(closing);
    QTRY_COMPARE(told->Told(), QString("replyFinished"));
    request->Abort();
    QVERIFY(request->Reply() != nullptr);
    QTest::qWait(1200);
    QCOMPARE(closing.connections, 1);

    // After a time-out there is no reply for a new send to abort, so the retry comes and takes its place.
    FaultServer server({{"", Answer::Hang}});
    request->SetTimeout(1);
    Get(server);
    QTRY_VERIFY(request->Reply() == nullptr);
    request->SetTimeout(0);
    Get(server);
    const QPointer<QNetworkReply> reply = request->Reply();
    QTRY_VERIFY(reply.isNull());
    QTRY_COMPARE(server.connections, 3);
    QVERIFY(request->isRunning());
    QCOMPARE(told->Told(), QString());
}

void TestHttpRequest::managerDies()
{
    FaultServer server({{"", Answer::Hang}});
    request->SetTimeout(1);
    Get(server);
    manager.reset();
    QVERIFY(request->Reply() == nullptr && !request->isRunning() && !request->Get());
}

void TestHttpRequest::actionInsideSignal_data()
{
    QTest::addColumn<bool>("ofReply");
    QTest::addColumn<QByteArray>("signal");
    QTest::addColumn<Answer>("answer");
    QTest::addColumn<QByteArray>("way");
    QTest::addColumn<QString>("what");

    const auto rows = [](bool ofReply, const QByteArray& signal, const Answer& answer,
                         const QByteArray& way = "ended") {
        for (const char* what : {"abort", "send", "delete", "nested"}) {
            QTest::newRow(what + answer.bytes.mid(8, 4) + ' ' + way + signal)
                << ofReply << signal << answer << way << what;
        }
    };
    const Answer ok{Response("200 OK", "body")};
    const Answer unfinished{ok.bytes.chopped(1), Answer::Hang};
    const QByteArray error = SIGNAL(requestError(int, QString, QByteArray));
    const QByteArray ended = SIGNAL(replyFinished(const QNetworkReply*));
    rows(false, SIGNAL(downloadProgress(qint64, qint64)), ok);
    rows(false, SIGNAL(downloadProgress(qint64, qint64)), {ok.bytes, Answer::Close, 150}, "running");
    rows(false, SIGNAL(uploadProgress(qint64, qint64)), ok);
    rows(false, ended, ok);
    rows(false, SIGNAL(requestFinishedWithBinaryData(QByteArray)), ok);
    rows(false, SIGNAL(requestFinished(QString)), ok);
    rows(false, error, {Response("404 No", "body")});
    rows(false, error, {Response("429 Busy", "body")});
    rows(false, error, unfinished, "silent");
    rows(false, SIGNAL(invalidOperationError(int, QString)), {Response("400 Bad", "body")});
    rows(false, SIGNAL(proxyError(int, QString)), {""}, "by proxy");
    rows(true, SIGNAL(metaDataChanged()), ok);
    rows(true, SIGNAL(readyRead()), ok);
    rows(true, SIGNAL(finished()), ok);
    // The caller aborts the reply, not the request.
    rows(true, SIGNAL(aboutToClose()), unfinished, "aborted");
    rows(true, SIGNAL(errorOccurred(QNetworkReply::NetworkError)), unfinished, "aborted");
    rows(false, ended, unfinished, "aborted");
    rows(false, error, unfinished, "aborted");
}

void TestHttpRequest::Act()
{
    if (std::exchange(hasActed, true)) {
        return;
    }
    manager->setProxy(QNetworkProxy::NoProxy);
    if (action == "abort") {
        request->Abort();
    } else if (action == "send") {
        told->events.clear();
        request->SetTimeout(0);
        request->SetUrl(actionUrl);
        QVERIFY(request->Get());
    } else if (action == "delete") {
        request.reset();
    } else {
        QEventLoop loop;
        QTimer::singleShot(0, this, [this] { request.reset(); });
        QTimer::singleShot(20, &loop, &QEventLoop::quit);
        loop.exec();
    }
}

void TestHttpRequest::actionInsideSignal()
{
    QFETCH(bool, ofReply);
    QFETCH(QByteArray, signal);
    QFETCH(Answer, answer);
    QFETCH(QByteArray, way);
    QFETCH(QString, what);

    FaultServer server({answer});
    FaultServer other({{Response("200 OK", "body")}});
    action = what;
    actionUrl = other.Url();
    hasActed = false;
    request->SetUrl(server.Url());
    request->SetTimeout(way == "silent" ? 1 : 0);
    if (way == "by proxy") {
        manager->setProxy(QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1", server.serverPort()));
        request->SetUrl(QUrl("https://127.0.0.1:1/"));
    }
    QVERIFY(signal.contains("upload") ? request->Post() : request->Get());
    const QPointer<QNetworkReply> reply = request->Reply();
    connect(ofReply ? static_cast<QObject*>(reply) : request.get(), signal.constData(), this, SLOT(Act()));
    if (way == "aborted") {
        QTRY_VERIFY(reply->bytesAvailable() > 0);
        // From an event loop, as in a real program.
        QTimer::singleShot(0, reply, &QNetworkReply::abort);
    }
    QTRY_VERIFY_WITH_TIMEOUT(hasActed, 10000);
    if (what == "send") {
        QTRY_COMPARE(told->Told(), success);
        QCOMPARE(other.connections, 1);
    }
    QTRY_VERIFY(what == "abort" || reply.isNull());
    QTRY_COMPARE(request == nullptr, what == "delete" || what == "nested");
}

void TestHttpRequest::manyInParallel()
{
    const QByteArray ok = Response("200 OK", "body");
    const QString busy = "replyFinished, error 429 0, ";
    const QList<QPair<Answer, QString>> kinds{
        {{ok}, success},
        {{Response("404 No", "body")}, "replyFinished, error 203 4"},
        {{Response("400 Bad", "body")}, "replyFinished, invalid 302, error 302 4"},
        {{Response("429 Busy", "wait")}, busy + busy + "error 299 4"},
        {{ok.chopped(2)}, "replyFinished, replyFinished, error 2 "},
        {{"", Answer::Hang}, "error 4 0"},
    };
    std::vector<std::unique_ptr<FaultServer>> servers;
    for (const auto& kind : kinds) {
        servers.push_back(std::make_unique<FaultServer>(QList<Answer>{kind.first}));
    }
    std::vector<RecordedRequest> all(500);
    for (std::size_t i = 0; i < all.size(); ++i) {
        all[i].Use(CreateHttpRequest(manager.get(), nullptr));
        all[i].request->SetUrl(servers[i % servers.size()]->Url());
        all[i].request->SetAttemptCountOnNetworkProblem(2);
        // Six requests to a host are on their way, the others wait, and the silent ones make them wait long.
        all[i].request->SetTimeout(i % servers.size() == 5 ? 1 : 60);
        QVERIFY(all[i].request->Get());
    }
    for (std::size_t i = 0; i < all.size(); ++i) {
        const QString& expected = kinds.at(qsizetype(i % servers.size())).second;
        QTRY_COMPARE_WITH_TIMEOUT(all[i].told->Told().left(expected.size()), expected, 60000);
    }
}

QTEST_GUILESS_MAIN(TestHttpRequest)
#include "tst_httprequest.moc"

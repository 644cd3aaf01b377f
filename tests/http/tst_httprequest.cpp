#include "faultserver.h"
#include "recordedrequest.h"

#include "files/filetree.h"
#include "logger/recordinglogger.h"
#include "table.h"

#include <common/http/httprequest.h>
#include <common/http/ihttprequestmultipartdata.h>
#include <common/tools/qcompressor.h>

#include <QJsonObject>
#include <QMetaEnum>
#include <QPointer>
#include <QTemporaryDir>
#include <QTimer>

using namespace common::http;

using Data = QSharedPointer<IHttpRequestData>;
using Part = QSharedPointer<IHttpRequestPartData>;

namespace
{

const auto File = &IHttpRequestPartData::CreateFilePartFormData;
const auto Text = &IHttpRequestPartData::CreateTextPartFormData;

Data Map(const QSharedPointer<IHttpRequestDataMap>& map, const QList<QPair<QString, QString>>& pairs)
{
    for (const auto& [key, value] : pairs) {
        map->SetValue(key, value);
    }
    map->SetValue("gone", map->GetValue("unknown"));
    map->RemoveValue("gone");
    return map;
}

Data Form(const QList<Part>& parts)
{
    const auto form = IHttpRequestMultiPartData::CreateMultiPartFormData();
    for (const Part& part : parts) {
        form->AddPart(part);
    }
    return form;
}

/// A reply that fails immediately with the given error.
class FailedReply : public QNetworkReply
{
public:
    FailedReply(int error, QObject* parent)
        : QNetworkReply(parent)
    {
        setError(static_cast<NetworkError>(error), "why");
        setFinished(true);
        QMetaObject::invokeMethod(this, &QNetworkReply::finished, Qt::QueuedConnection);
    }
    void abort() override {}
    qint64 readData(char* /*data*/, qint64 /*size*/) override { return -1; }
};

class FailingRequest : public HttpRequest
{
public:
    using HttpRequest::HttpRequest;

    int error = 0;

protected:
    QNetworkReply* SendGetRequest() override { return new FailedReply(error, this); }
};

} // namespace

class TestHttpRequest : public QObject, private RecordedRequest
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void wire_data();
    void wire();
    void changingFile_data();
    void changingFile();
    void notSent();
    void outcome_data();
    void outcome();
    void errors_data();
    void errors();
    void silence();
    void abortAndRetry();

private:
    void Get(const FaultServer& server);

    RecordingLogger log;
    QTemporaryDir dir;
};

void TestHttpRequest::init()
{
    Renew();
    log.lines.clear();
}

void TestHttpRequest::Get(const FaultServer& server)
{
    events.clear();
    request->SetUrl(server.Url());
    QVERIFY(request->Get());
    QVERIFY(request->isRunning());
}

void TestHttpRequest::wire_data()
{
    // Each attempt must send all `parts`.
    const Table<QString, Data, QByteArrayList> row("path", "data", "parts");
    const auto map = &IHttpRequestDataMap::CreateUrlencodedDataMap;
    const auto json = &IHttpRequestDataMap::CreateJsonDataMap;
    const QByteArray jsonType = "\r\nContent-Type: application/json\r\n";
    const QByteArray binary = QByteArray("\0\r\n--\xff", 6).repeated(50000);
    const QString file = dir.filePath("one.bin");
    filetree::Write(file, binary);

    row("plain GET", "/p?q=1", {},
        {"GET /p?q=1 HTTP/1.1\r\n", "\r\nX-One: é\r\n", "\r\nAccept-Encoding: gzip\r\n"});
    row("query", "/p", Map(map(), {{"a", "1 2"}}), {"GET /p?a=1%202 "});
    row("query behind a query", "/p?q=1", Map(map(), {{"a", "1"}}), {"GET /p?q=1?a=1 "});
    row("empty query", "/p", map(), {"GET /p HTTP"});
    row("nothing", "/p", {}, {"POST /p HTTP/1.1\r\n", "\r\nContent-Length: 0\r\n"});
    row("JSON", "/", IHttpRequestSimpleData::CreateJsonData({{"n", 1}}),
        {"POST", jsonType, "\r\n\r\n{\"n\":1}"});
    row("JSON map, strings in order", "/", Map(json(), {{"b", "true"}, {"a", "1"}, {"B", "\""}}),
        {"POST", jsonType, "\r\n\r\n{\"B\":\"\\\"\",\"a\":\"1\",\"b\":\"true\"}"});
    row("map, in order", "/", Map(map(), {{"é +", "-._~*'€"}, {"b", "x&y"}, {"a", "1"}, {"a", ""}}),
        {"POST", "\r\nContent-Type: application/x-www-form-urlencoded\r\n",
         "\r\n\r\na=&b=x%26y&%C3%A9%20%2B=-._~%2A%27%E2%82%AC"});
    row("form", "/", Form({Text("a", "é"), File("f\"", file)}),
        {"POST", "\r\nContent-Type: multipart/form-data; boundary=",
         "\r\nContent-Type: text/plain; charset=UTF-8\r\n"
         "Content-Disposition: form-data; name=\"a\"\r\n\r\né\r\n--",
         "\r\nContent-Disposition: form-data; name=\"f\"\"; filename=\"one.bin\"\r\n\r\n" + binary +
             "\r\n--"});
}

void TestHttpRequest::wire()
{
    QFETCH(QString, path);
    QFETCH(Data, data);
    QFETCH(QByteArrayList, parts);

    FaultServer server({{Response("200 OK", "body").chopped(4)}, {Response("200 OK", "")}});
    request->SetUrl(server.Url(path));
    request->SetData(data);
    request->SetRawHeader("X-One", "é");
    request->SetAttemptCountOnNetworkProblem(2);
    const bool post = parts.first().startsWith("POST");
    QVERIFY(post ? request->Post() : request->Get());
    QTRY_COMPARE(Told(), "replyFinished, " + success);
    const QByteArray raw = server.requests.join();
    for (const QByteArray& part : parts) {
        QVERIFY2(raw.count(part) == 2, raw.constData());
    }
    QCOMPARE(raw.count("ccept-Encoding:"), 2);
    QCOMPARE(raw.contains("Content-Type:"), post && data != nullptr);
}

void TestHttpRequest::changingFile_data()
{
    const Table<int, int, QString> row("before", "after", "expected");
    row("stays empty", 0, 0, success);
    row("grows", 100, 200, success);
    row("shrinks", 100, 50, "replyFinished, error 99 0");
}

/// Changes the size of a form file while the form is being sent.
void TestHttpRequest::changingFile()
{
    QFETCH(int, before);
    QFETCH(int, after);
    QFETCH(QString, expected);

    QFile file(dir.filePath("file"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.resize(before));
    FaultServer server({{Response("200 OK", "")}});
    request->SetUrl(server.Url());
    request->SetData(Form({File("f", file.fileName()), Text("t", "end")}));
    QVERIFY(request->Post());
    QVERIFY(file.resize(after));
    QTRY_COMPARE(Told(), expected);
    QCOMPARE(server.requests.join().contains("\r\n\r\n" + QByteArray(before, '\0') + "\r\n--"),
             expected == success);
}

// Only the return value and the log report that nothing was sent.
void TestHttpRequest::notSent()
{
    request->SetData(IHttpRequestDataMap::CreateJsonDataMap());
    QVERIFY(!request->Get());
    QVERIFY(log.Contains("Invalid request parameters type"));
    request->SetData(Form({Text("a", ""), File("b", "no/such")}));
    QVERIFY(!request->Post());
    QVERIFY(log.Contains("Failed to open file 'no/such'"));
    QVERIFY(request->Reply() == nullptr);
    request->SetData({});
    Get(FaultServer());
    manager.reset();
    QCOMPARE(request->Reply(), nullptr);
    QVERIFY(!request->isRunning());
    QVERIFY(!request->Get());
    QVERIFY(log.Contains("HttpRequestManager is NULL!"));
    QCOMPARE(Told(), QString());
}

void TestHttpRequest::outcome_data()
{
    const Table<QList<Answer>, int, QString, QByteArray> row("answers", "attempts", "told", "content");
    QByteArray packed;
    tools::QCompressor::gzipCompress("text", packed, 6);
    const QByteArray gzip = "Content-Encoding: gzip\r\n";

    row("success", {{Response("200 OK", "a\xff")}}, 3, success, "a\xff");
    row("gzip", {{Response("200 OK", packed, gzip)}}, 1, success, "text");
    row("gzip, broken", {{Response("200 OK", "not packed", gzip)}}, 1, success, "not packed");
    row("other coding", {{Response("200 OK", packed, "Content-Encoding: GZIP\r\n")}}, 1, success, packed);

    // After these errors, the request is not retried, and the error signal carries the body of the response.
    row("404", {{Response("404 No", packed, gzip)}}, 3, "replyFinished, error 203 4", "text");
    row("400", {{Response("400 No", "body")}}, 3, "replyFinished, invalid 302, error 302 4", "body");
    row("ends before the headers", {{""}}, 0, "replyFinished, error 2 0", "");

    const Answer busy{Response("429 Too Many Requests", "wait")};
    const QString busyOnce = "replyFinished, error 429 0, ";
    row("429, two tries", {busy}, 2, busyOnce + busyOnce + "error 299 4", "wait");
}

void TestHttpRequest::outcome()
{
    QFETCH(QList<Answer>, answers);
    QFETCH(int, attempts);
    QFETCH(QString, told);
    QFETCH(QByteArray, content);

    FaultServer server(answers);
    request->SetAttemptCountOnNetworkProblem(attempts);
    Get(server);
    QTRY_COMPARE_WITH_TIMEOUT(Told(), told, 30000);
    QCOMPARE(body, content);
    QVERIFY(told != success || text == QString::fromUtf8(content));
    QVERIFY(log.Contains("Accepted reply from server: "));
    // Aborting a finished request keeps the reply and emits nothing.
    request->Abort();
    QVERIFY(request->Reply() != nullptr);
    QVERIFY(!request->isRunning());
    QCOMPARE(Told(), told);
}

void TestHttpRequest::errors_data()
{
    // Each row lists the codes of one class and the signals of a request with two attempts.
    const Table<QList<int>, QString> row("codes", "expected");
    row("network problem", {1, 2, 3, 4, 5, 6, 7, 8, 9, 99}, "replyFinished, replyFinished, error %1 0");
    row("proxy", {101, 102, 103, 104, 105, 199}, "replyFinished, proxy %1, error %1 0");
    row("invalid operation", {302}, "replyFinished, invalid %1, error %1 0");
    row("other", {10, 11, 201, 202, 203, 204, 205, 206, 207, 299, 301, 399, 401, 402, 403, 499, 100, 12345},
        "replyFinished, error %1 0");
}

void TestHttpRequest::errors()
{
    QFETCH(QList<int>, codes);
    QFETCH(QString, expected);

    auto* const failing = new FailingRequest(manager.get(), nullptr);
    Use(failing);
    request->SetAttemptCountOnNetworkProblem(2);
    for (const int code : codes) {
        failing->error = code;
        events.clear();
        QVERIFY(request->Get());
        QTRY_COMPARE(Told(), expected.arg(code));
        const char* const name = QMetaEnum::fromType<QNetworkReply::NetworkError>().valueToKey(code);
        const QString line = QString("0/;    %1 (why), URL=''").arg(name != nullptr ? name : "UnknownError");
        QVERIFY2(log.Contains(line), qPrintable(line));
    }
}

void TestHttpRequest::silence()
{
    // A server that sends single bytes for five seconds is not silent.
    FaultServer slow({{Response("200 OK", QByteArray(50, 't')), Answer::Close, 100}});
    request->SetTimeout(1);
    Get(slow);
    QTRY_COMPARE_WITH_TIMEOUT(Told(), success, 20000);
    QTest::qWait(1200);
    QCOMPARE(Told(), success); // No timeout occurs after the end.

    FaultServer dead({{Response("200 OK", "body").chopped(1), Answer::Hang}});
    request->SetAttemptCountOnNetworkProblem(2);
    Get(dead);
    QTRY_COMPARE_WITH_TIMEOUT(Told(), QString("error 4 0"), 20000);
    QCOMPARE(text, QString("Request timed out"));
    QVERIFY(log.Contains("Request to URL='" + dead.Url().toString() + "' timed out! attempt='1'."));
    QCOMPARE(request->Reply(), nullptr);
    QVERIFY(!request->isRunning());
    QCOMPARE(dead.requests.size(), 2);
    QTRY_COMPARE(dead.OpenConnections(), 0);
}

void TestHttpRequest::abortAndRetry()
{
    // Both an abort and a new send delete the running reply immediately.
    FaultServer server({{"", Answer::Hang}});
    Get(server);
    QPointer<QNetworkReply> reply = request->Reply();
    request->Abort();
    QVERIFY(reply.isNull());
    QCOMPARE(request->Reply(), nullptr);
    Get(server);
    reply = request->Reply();
    Get(server);
    QVERIFY(reply.isNull());

    // The default interval between two attempts is too long to wait for.
    const std::unique_ptr<IHttpRequest> unset(CreateHttpRequest(manager.get(), nullptr));
    QCOMPARE(unset->findChild<QTimer*>()->interval(), 20000);

    // Both an abort and a new send cancel a retry after an error. The abort keeps the failed reply.
    FaultServer closing({{"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n"}});
    request->SetAttemptCountOnNetworkProblem(5);
    request->SetAttemptIntervalOnNetworkProblem(1);
    for (const bool aborts : {true, false}) {
        Get(closing);
        QTRY_COMPARE(Told(), QString("replyFinished"));
        QVERIFY(log.Contains("The next request attempt will be taken in '1' seconds."));
        aborts ? request->Abort() : Get(server);
        reply = request->Reply();
        QTest::qWait(1200);
        QVERIFY(reply != nullptr);
        QCOMPARE(request->Reply(), reply.data());
    }
}

QTEST_GUILESS_MAIN(TestHttpRequest)
#include "tst_httprequest.moc"

#include "faultserver.h"
#include "recordedrequest.h"

#include "logger/recordinglogger.h"

#include <common/http/httprequest.h>
#include <common/http/ihttprequestmultipartdata.h>
#include <common/tools/qcompressor.h>

#include <QElapsedTimer>
#include <QHttpMultiPart>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

using namespace common::http;

using Data = QSharedPointer<IHttpRequestData>;

class UnknownPayload : public IHttpRequestData
{};
using Part = QSharedPointer<IHttpRequestPartData>;

namespace
{

constexpr auto File = &IHttpRequestPartData::CreateFilePartFormData;
constexpr auto Text = &IHttpRequestPartData::CreateTextPartFormData;

const QString success = "replyFinished, binary, finished";

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

} // namespace

class TestHttpRequest : public QObject, private RecordedRequest
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void wire_data();
    void wire();
    void notSent_data();
    void notSent();
    void uploadIsWholeAgain();
    void outcome_data();
    void outcome();
    void logLines();
    void retryTiming();
    void silence();
    void abortAndRetry();

private:
    QString Write(const QString& name, const QByteArray& content) const;
    void Get(const FaultServer& server);
    QString Log() const;

    RecordingLogger log;
    QTemporaryDir dir;
};

void TestHttpRequest::init()
{
    Renew();
    log.lines.clear();
}

QString TestHttpRequest::Write(const QString& name, const QByteArray& content) const
{
    QFile file(dir.filePath(name));
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() ? file.fileName() : "";
}

void TestHttpRequest::Get(const FaultServer& server)
{
    told->events.clear();
    request->SetUrl(server.Url());
    QVERIFY(request->Get());
    QVERIFY(request->isRunning());
}

/// A line for each, with level, channel and text, and "r" for the number of the reply.
QString TestHttpRequest::Log() const
{
    QString text;
    for (const auto& line : log.lines) {
        text += QString("%1 %2 %3\n").arg(QString::number(line.level), line.channel.mid(5), line.text);
    }
    text.remove('[' + QString::number(qHash(request.get())));
    return text.replace(QRegularExpression(" , \\d+]: "), " r: ").replace(" ]: ", " : ");
}

void TestHttpRequest::wire_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<Data>("data");
    QTest::addColumn<QByteArrayList>("parts"); // Of what is sent, with "BOUNDARY" for Qt's.
    QTest::addColumn<QString>("header");       // NAME:VALUE, or none

    const auto row = [](const char* name, const QString& path, const Data& data, const QByteArrayList& parts,
                        const QString& header = QString()) {
        QTest::newRow(name) << path << data << parts << header;
    };
    const auto map = &IHttpRequestDataMap::CreateUrlencodedDataMap;
    const auto json = &IHttpRequestDataMap::CreateJsonDataMap;
    const QByteArray jsonType = "\r\nContent-Type: application/json\r\n";
    const QByteArray mapType = "\r\nContent-Type: application/x-www-form-urlencoded\r\n";
    const QByteArray binary("\0\r\n--\xff", 6);

    row("plain GET", "/p?q=1", {}, {"GET /p?q=1 HTTP/1.1\r\n", "\r\nAccept-Encoding: gzip\r\n"});
    row("own coding", "/", {}, {"\r\nAccept-Encoding: é\r\n"}, "Accept-Encoding:é");
    row("own coding in other case", "/", {}, {"ccept-Encoding: gzip\r\n"}, "accept-encoding:br");
    row("query", "/p", Map(map(), {{"a", "1 2"}}), {"GET /p?a=1%202 "});
    row("query behind a query", "/p?q=1", Map(map(), {{"a", "1"}}), {"GET /p?q=1?a=1 "});
    row("empty query", "/p", map(), {"GET /p HTTP"});
    row("nothing", "/p", {}, {"POST /p HTTP/1.1\r\n", "\r\nContent-Length: 0\r\n"});
    row("JSON", "/", IHttpRequestSimpleData::CreateJsonData({{"n", 1}}),
        {"POST", jsonType, "\r\n\r\n{\"n\":1}"}, "Content-Type:text/css");
    row("JSON map, empty", "/", json(), {"POST", jsonType, "\r\n\r\n{}"});
    row("JSON map, strings in order", "/", Map(json(), {{"b", "true"}, {"a", "1"}, {"B", "\""}}),
        {"POST", jsonType, "\r\n\r\n{\"B\":\"\\\"\",\"a\":\"1\",\"b\":\"true\"}"});
    row("map, in order", "/", Map(map(), {{"b", "x&y"}, {"a", "1"}, {"a", ""}}),
        {"POST", mapType, "\r\n\r\na=&b=x%26y"});
    row("map, UTF-8 and marks", "/", Map(map(), {{"é +", "-._~*'€"}}),
        {"POST", "\r\n\r\n%C3%A9%20%2B=-._~%2A%27%E2%82%AC"});
    row("form", "/", Form({Text("b", "2"), File("f\"", Write("one.bin", binary)), Text("a", "é")}),
        {"POST", "\r\nContent-Type: multipart/form-data; boundary=",
         "\r\n\r\n--BOUNDARY\r\n"
         "Content-Type: text/plain; charset=UTF-8\r\nContent-Disposition: form-data; name=\"b\"\r\n\r\n2\r\n"
         "--BOUNDARY\r\nContent-Disposition: form-data; name=\"f\"\"; filename=\"one.bin\"\r\n\r\n" +
             binary +
             "\r\n--BOUNDARY\r\nContent-Type: text/plain; charset=UTF-8\r\n"
             "Content-Disposition: form-data; name=\"a\"\r\n\r\né\r\n--BOUNDARY--\r\n"});
}

void TestHttpRequest::wire()
{
    QFETCH(QString, path);
    QFETCH(Data, data);
    QFETCH(QByteArrayList, parts);
    QFETCH(QString, header);

    FaultServer server({{Response("200 OK", "")}});
    request->SetUrl(server.Url(path));
    request->SetData(data);
    request->SetRawHeader(header.isEmpty() ? "X" : header.section(':', 0, 0), header.section(':', 1));
    const bool post = parts.first().startsWith("POST");
    QVERIFY(post ? request->Post() : request->Get());
    QTRY_VERIFY(told->HasEnded());
    // Progress comes before the end, and the end in this order.
    QVERIFY(told->events.contains("down") && told->events.contains("up") == post);
    QCOMPARE(told->events.mid(told->events.indexOf("replyFinished")).join(' '),
             QString("replyFinished binary finished"));
    QByteArray raw = server.requests.value(0);
    const auto boundary = QRegularExpression("boundary=\"([^\"]+)\"").match(raw);
    if (boundary.hasMatch()) {
        raw.replace(boundary.captured(1).toLatin1(), "BOUNDARY");
    }
    for (const QByteArray& part : parts) {
        QVERIFY2(raw.contains(part), raw.constData());
    }
    QCOMPARE(raw.count("ccept-Encoding:"), 1);
    QCOMPARE(raw.contains("Content-Type:"), post && data != nullptr);
}

void TestHttpRequest::notSent_data()
{
    QTest::addColumn<int>("method");
    QTest::addColumn<Data>("data");
    QTest::addColumn<QString>("lines");

    const QString general = "3 request : Failed to send request to URL='http://h/'\n";
    const QString missing = dir.filePath("no/such");
    const Data form = Form({File("a", Write("here", "1")), File("b", missing), File("c", "never tried")});
    QTest::newRow("unknown method") << 7 << Data() << general;
    QTest::newRow("unknown payload") << 0 << Data(new UnknownPayload) << general;
    QTest::newRow("GET with a JSON map")
        << 1 << Data(IHttpRequestDataMap::CreateJsonDataMap())
        << "3 request : Failed to send GET request to URL='http://h/'. Invalid request parameters type\n" +
               general;
    QTest::newRow("missing file")
        << 0 << form
        << "3 form.part Failed to open file '" + missing +
               "'\n3 form.multipart Failed to append part to multipart\n3 request : Failed to create "
               "multipart/form-data POST request to URL='http://h/'.\n" +
               general;
    QTest::newRow("no manager any more")
        << 1 << Data() << "2 request : Failed to  SendRequest(): HttpRequestManager is NULL!\n";
}

void TestHttpRequest::notSent()
{
    QFETCH(int, method);
    QFETCH(Data, data);
    QFETCH(QString, lines);

    request->SetTimeout(1);
    if (lines.startsWith('2')) {
        Get(FaultServer());
        manager.reset();
        QVERIFY(request->Reply() == nullptr && !request->isRunning());
    }
    request->SetUrl(QUrl("http://h/"));
    request->SetData(data);
    QVERIFY(!request->Send(static_cast<IHttpRequest::HTTPRequestMethod>(method)));
    QVERIFY(request->Reply() == nullptr);
    QCOMPARE(Log(), lines);
    QCOMPARE(told->events, QStringList());
}

void TestHttpRequest::uploadIsWholeAgain()
{
    const QByteArray content(300000, 'x');
    const QString path = Write("upload.bin", content);
    FaultServer server({{""}, {""}, {Response("200 OK", "")}});
    request->SetUrl(server.Url());
    request->SetData(Form({File("f", path)}));
    request->SetAttemptCountOnNetworkProblem(9);
    QVERIFY(request->Post());
    QTRY_VERIFY(told->Told().endsWith(success));
    QVERIFY2(request->Reply()->findChild<QHttpMultiPart*>() != nullptr, "the form goes with the reply");
    QCOMPARE(server.requests.size(), 3);
    QVERIFY(server.requests.join().count("\r\n\r\n" + content + "\r\n--") == 3);

#ifndef _WIN32 // Where a file in use cannot go.
    // Gone between two attempts: the retry fails, and only the log tells.
    FaultServer closing({{""}});
    told->events.clear();
    request->SetUrl(closing.Url());
    connect(request.get(), &IHttpRequest::replyFinished, this, [path] { QFile::remove(path); });
    QVERIFY(request->Post());
    const QString where = "request to URL='" + closing.Url().toString() + "'";
    QTRY_VERIFY(Log().endsWith("3 request : Failed to send " + where + '\n'));
    QVERIFY(Log().contains("7 request : Sending multipart/form-data POST " + where + ", attempt='0'.\n"));
    QCOMPARE(told->Told(), QString("replyFinished"));
#endif
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
    const QByteArray large(100000000, 'l');

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
    for (const QByteArray refusal : {"401 204", "403 201", "404 203", "405 202", "409 206", "410 207",
                                     "451 299", "500 401", "501 402", "503 403", "599 499"}) {
        row(refusal, {{Response(refusal.left(3) + " No", packed, "Content-Encoding: gzip\r\n")}}, 3,
            "replyFinished, error " + refusal.mid(4) + " 4", "text");
    }
    row("400", {{Response("400 No", "body")}}, 3, "replyFinished, invalid 302, error 302 4", "body");
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

void TestHttpRequest::logLines()
{
    FaultServer server({{Response("200 Fine", "x", "Content-Encoding: gzip\r\n")}});
    request->SetData(Map(IHttpRequestDataMap::CreateUrlencodedDataMap(), {{"a", "%1"}}));
    Get(server);
    QTRY_VERIFY(told->HasEnded());
    const QString where = QString("URL='%1', attempt='0'.\n").arg(server.Url("/?a=%251").toString());
    QCOMPARE(Log(), "7 request : Sending GET request to " + where +
                        "4 request r: Failed to decompress gzip, using uncompressed data!\n"
                        "7 request r: Accepted reply from server: 200/Fine; " +
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
    const QString failed =
        "3 request r: Accepted reply from server: 0/;    ConnectionRefusedError (Connection "
        "refused), URL='" +
        nowhere.toString() + "', attempt='%1'.\n7 request r: ";
    const QString next = "The next request attempt will be taken in '1' seconds.\n";
    QCOMPARE(Log(), failed.arg(0) + next + failed.arg(1) + next + failed.arg(2) +
                        "Cannot retry request. The attempt count reached maximum.\n");
}

void TestHttpRequest::silence()
{
    // Five seconds of a byte now and then are no silence.
    FaultServer slow({{Response("200 OK", QByteArray(50, 't')), Answer::Close, 100}});
    request->SetTimeout(1);
    Get(slow);
    QTRY_COMPARE_WITH_TIMEOUT(told->Told(), success, 20000);
    QTest::qWait(1200);
    QCOMPARE(told->Told(), success); // Silence after the end is none either.

    FaultServer dead({{Response("200 OK", "body").chopped(1), Answer::Hang}});
    request->SetAttemptCountOnNetworkProblem(2);
    Get(dead);
    QTRY_COMPARE_WITH_TIMEOUT(told->Told(), QString("error 4 0"), 20000);
    QCOMPARE(told->text, QString("Request timed out"));
    QVERIFY(Log().contains("3 request r: Request to URL='" + dead.Url().toString() +
                           "' timed out! attempt='1'.\n7 request : Cannot retry"));
    QVERIFY(request->Reply() == nullptr && !request->isRunning());
    QCOMPARE(dead.requests.size(), 2);
    QTRY_COMPARE(dead.openConnections, 0);
}

void TestHttpRequest::abortAndRetry()
{
    // An abort deletes what runs, at once, and so does a new send.
    FaultServer server({{"", Answer::Hang}});
    Get(server);
    QPointer<QNetworkReply> reply = request->Reply();
    request->Abort();
    QVERIFY(reply.isNull() && request->Reply() == nullptr);
    Get(server);
    reply = request->Reply();
    Get(server);
    QVERIFY(reply.isNull());

    // Both cancel a waiting retry, and the abort leaves the reply that failed.
    FaultServer closing({{"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n"}});
    request->SetAttemptCountOnNetworkProblem(5);
    request->SetAttemptIntervalOnNetworkProblem(1);
    for (const bool aborts : {true, false}) {
        Get(closing);
        QTRY_COMPARE(told->Told(), QString("replyFinished"));
        aborts ? request->Abort() : Get(server);
        reply = request->Reply();
        QTest::qWait(1200);
        QVERIFY(reply != nullptr && reply == request->Reply());
    }

    // After a time-out there is no reply for a new send to abort, so the retry comes and takes its place.
    request->SetTimeout(1);
    Get(server);
    QTRY_VERIFY(request->Reply() == nullptr);
    request->SetTimeout(0);
    Get(server);
    reply = request->Reply();
    QTRY_VERIFY(reply.isNull());
    QVERIFY(request->isRunning());
    QCOMPARE(told->Told(), QString());
}

QTEST_GUILESS_MAIN(TestHttpRequest)
#include "tst_httprequest.moc"

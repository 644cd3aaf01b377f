#include "faultserver.h"
#include "recordedrequest.h"

#include "logger/recordinglogger.h"

#include <common/http/ihttprequestmultipartdata.h>

#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

using namespace common::http;

using Data = QSharedPointer<IHttpRequestData>;
using Part = QSharedPointer<IHttpRequestPartData>;

namespace
{

constexpr auto File = &IHttpRequestPartData::CreateFilePartFormData;
constexpr auto Text = &IHttpRequestPartData::CreateTextPartFormData;

Data Map(const QSharedPointer<IHttpRequestDataMap>& map, const QList<QPair<QString, QString>>& pairs)
{
    for (const auto& [key, value] : pairs) {
        map->SetValue(key, value);
    }
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

class TestHttpPayload : public QObject, private RecordedRequest
{
    Q_OBJECT

private Q_SLOTS:
    void init() { Renew(); }
    void wire_data();
    void wire();
    void notSent_data();
    void notSent();
    void uploadIsWholeAgain();

private:
    QString Write(const QString& name, const QByteArray& content) const;

    QTemporaryDir dir;
};

QString TestHttpPayload::Write(const QString& name, const QByteArray& content) const
{
    QFile file(dir.filePath(name));
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() ? file.fileName()
                                                                                    : QString();
}

void TestHttpPayload::wire_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<Data>("data");
    QTest::addColumn<QByteArrayList>(
        "parts");                        // Of what is sent, with "BOUNDARY" for Qt's; "POST" for a POST.
    QTest::addColumn<QString>("header"); // NAME:VALUE, or none

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

void TestHttpPayload::wire()
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

void TestHttpPayload::notSent_data()
{
    QTest::addColumn<int>("method");
    QTest::addColumn<Data>("data");
    QTest::addColumn<QString>("lines"); // Level, channel and text.

    const QString wrongType = "3 http.request Failed to send GET request to URL='http://h/'. Invalid request "
                              "parameters type\n";
    const QString general = "3 http.request Failed to send request to URL='http://h/'\n";
    const QString noManager = "2 http.request Failed to  SendRequest(): HttpRequestManager is NULL!\n";
    const QString missing = dir.filePath("no/such");
    QTest::newRow("no manager") << -1 << Data() << noManager;
    QTest::newRow("unknown method") << 7 << Data() << general;
    QTest::newRow("unknown payload") << 0 << Data::create() << general;
    QTest::newRow("GET with a JSON map")
        << 1 << Data(IHttpRequestDataMap::CreateJsonDataMap()) << wrongType + general;
    QTest::newRow("missing file")
        << 0 << Form({File("a", Write("here", "1")), File("b", missing), File("c", "never tried")})
        << "3 http.form.part Failed to open file '" + missing +
               "'\n3 http.form.multipart Failed to append part to multipart\n3 http.request Failed to create "
               "multipart/form-data POST request to URL='http://h/'.\n" +
               general;
}

void TestHttpPayload::notSent()
{
    QFETCH(int, method);
    QFETCH(Data, data);
    QFETCH(QString, lines);

    request->SetUrl(QUrl("http://h/"));
    request->SetData(data);
    if (method < 0) {
        manager.reset();
    }
    const RecordingLogger log;
    QVERIFY(!request->Send(static_cast<IHttpRequest::HTTPRequestMethod>(method)));
    QVERIFY(request->Reply() == nullptr);
    QString logged;
    for (const auto& line : log.lines) {
        logged += QString("%1 %2 %3\n").arg(QString::number(line.level), line.channel, line.text);
    }
    QCOMPARE(logged.remove(QString("[%1]: ").arg(qHash(request.get()))), lines);
    QCOMPARE(told->events, QStringList());
}

void TestHttpPayload::uploadIsWholeAgain()
{
    const QByteArray content(300000, 'x');
    const QString path = Write("upload.bin", content);
    FaultServer server({{QByteArray()}, {QByteArray()}, {Response("200 OK", "ok")}});
    request->SetUrl(server.Url());
    request->SetData(Form({File("f", path)}));
    request->SetAttemptCountOnNetworkProblem(9);
    QVERIFY(request->Post());
    QTRY_VERIFY(told->HasEnded());
    QCOMPARE(told->events.last(), QString("finished"));
    QCOMPARE(told->events.first(), QString("up"));
    QCOMPARE(server.requests.size(), 3);
    for (const QByteArray& raw : server.requests) {
        QVERIFY(raw.contains("\r\n\r\n" + content + "\r\n--"));
    }

#ifndef _WIN32 // Where a file in use cannot go.
    // Gone between two attempts: the retry fails, and only the log tells.
    FaultServer closing({{QByteArray()}});
    RecordingLogger log;
    told->events.clear();
    request->SetUrl(closing.Url());
    connect(request.get(), &IHttpRequest::replyFinished, this, [path] { QFile::remove(path); });
    QVERIFY(request->Post());
    QTRY_VERIFY(!log.lines.empty() && log.lines.back().text.contains("Failed to send request to URL='"));
    QCOMPARE(told->Told(), QString("replyFinished"));
    QVERIFY(request->Reply() == nullptr);
#endif
}

QTEST_GUILESS_MAIN(TestHttpPayload)
#include "tst_httppayload.moc"

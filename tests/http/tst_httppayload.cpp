#include "faultserver.h"
#include "signalrecorder.h"

#include "logger/recordinglogger.h"

#include <common/http/ihttprequestmultipartdata.h>

#include <QHttpMultiPart>
#include <QJsonArray>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace common::http;

using Simple = QSharedPointer<IHttpRequestSimpleData>;
using Pairs = QList<QPair<QString, QString>>;

class TestHttpPayload : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void simple_data();
    void simple();
    void mapValues();
    void form_data();
    void form();
    void missingFile();
    void uploadIsWholeAgain();

private:
    QString Write(const QString& name, const QByteArray& content) const;

    QTemporaryDir dir;
};

void TestHttpPayload::simple_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<Pairs>("pairs");
    QTest::addColumn<QByteArray>("body");

    QTest::newRow("JSON map, empty") << "json map" << Pairs{} << QByteArray("{}");
    QTest::newRow("JSON map, all strings, sorted")
        << "json map" << Pairs{{"b", "true"}, {"a", "1"}, {"B", "\""}}
        << QByteArray(R"({"B":"\"","a":"1","b":"true"})");
    QTest::newRow("map, empty") << "map" << Pairs{} << QByteArray();
    QTest::newRow("map, sorted and encoded")
        << "map" << Pairs{{"b", "x&y"}, {"a", "1 2"}} << QByteArray("a=1%202&b=x%26y");
    QTest::newRow("map, the last value stays") << "map" << Pairs{{"a", "1"}, {"a", ""}} << QByteArray("a=");
    QTest::newRow("map, UTF-8 and marks")
        << "map" << Pairs{{"é +", "-._~*'€"}} << QByteArray("%C3%A9%20%2B=-._~%2A%27%E2%82%AC");
}

void TestHttpPayload::simple()
{
    QFETCH(QString, kind);
    QFETCH(Pairs, pairs);
    QFETCH(QByteArray, body);

    const bool json = kind == "json map";
    const auto map =
        json ? IHttpRequestDataMap::CreateJsonDataMap() : IHttpRequestDataMap::CreateUrlencodedDataMap();
    for (const auto& [key, value] : pairs) {
        map->SetValue(key, value);
    }
    QCOMPARE(map->GetData(), body);
    QCOMPARE(map->GetData(), body);
    QCOMPARE(map->GetContentType(), QString(json ? "application/json" : "application/x-www-form-urlencoded"));
}

void TestHttpPayload::mapValues()
{
    QJsonObject object{{"n", 1}, {"l", QJsonArray{true, QJsonValue()}}};
    const auto data = IHttpRequestSimpleData::CreateJsonData(object);
    object.insert("later", "not in the copy");
    QCOMPARE(data->GetData(), QByteArray(R"({"l":[true,null],"n":1})"));
    QCOMPARE(data->GetContentType(), QString("application/json"));

    const auto map = IHttpRequestDataMap::CreateJsonDataMap();
    map->SetValue("a", "1");
    map->RemoveValue("b");
    QCOMPARE(map->GetValue("a"), QString("1"));
    QCOMPARE(map->GetValue("b"), QString());
    map->RemoveValue("a");
    QCOMPARE(map->GetData(), QByteArray("{}"));
}

QString TestHttpPayload::Write(const QString& name, const QByteArray& content) const
{
    QFile file(dir.filePath(name));
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() ? file.fileName()
                                                                                    : QString();
}

void TestHttpPayload::form_data()
{
    QTest::addColumn<QStringList>("parts"); // text:NAME:VALUE or file:NAME:FILE
    QTest::addColumn<QByteArray>("body");   // With "B" for the boundary.

    QTest::newRow("order of adding") << QStringList{"text:b:2", "file:f:one.bin", "text:a:é"}
                                     << QByteArray("--B\r\n"
                                                   "Content-Type: text/plain; charset=UTF-8\r\n"
                                                   "Content-Disposition: form-data; name=\"b\"\r\n\r\n"
                                                   "2\r\n--B\r\n"
                                                   "Content-Disposition: form-data; name=\"f\"; "
                                                   "filename=\"one.bin\"\r\n\r\n") +
                                            QByteArray("\0\r\n--\xff", 6) +
                                            QByteArray("\r\n--B\r\n"
                                                       "Content-Type: text/plain; charset=UTF-8\r\n"
                                                       "Content-Disposition: form-data; name=\"a\"\r\n\r\n"
                                                       "\xc3\xa9\r\n--B--\r\n");
    QTest::newRow("quotes stay as they are")
        << QStringList{"file:a\"b:empty.bin"}
        << QByteArray("--B\r\nContent-Disposition: form-data; name=\"a\"b\"; filename=\"empty.bin\"\r\n\r\n"
                      "\r\n--B--\r\n");
}

void TestHttpPayload::form()
{
    QFETCH(QStringList, parts);
    QFETCH(QByteArray, body);

    Write("one.bin", QByteArray("\0\r\n--\xff", 6));
    Write("empty.bin", QByteArray());
    const auto form = IHttpRequestMultiPartData::CreateMultiPartFormData();
    for (const QString& part : parts) {
        const QStringList words = part.split(':');
        form->AddPart(
            words.at(0) == "file"
                ? IHttpRequestPartData::CreateFilePartFormData(words.at(1), dir.filePath(words.at(2)))
                : IHttpRequestPartData::CreateTextPartFormData(words.at(1), words.at(2)));
    }
    FaultServer server({{Response("200 OK", "")}});
    QNetworkAccessManager manager;
    const std::unique_ptr<IHttpRequest> request(CreateHttpRequest(&manager, nullptr));
    SignalRecorder recorder(request.get());
    request->SetUrl(server.Url());
    request->SetData(form);
    QVERIFY(request->Post());
    QTRY_VERIFY(recorder.HasEnded());
    QCOMPARE(recorder.Told(), QString("replyFinished, binary, finished"));

    const QByteArray raw = server.Requests().value(0);
    const QString head = raw.left(raw.indexOf("\r\n\r\n"));
    const QRegularExpression type("Content-Type: multipart/form-data; boundary=\"([^\"]+)\"",
                                  QRegularExpression::CaseInsensitiveOption);
    const QByteArray boundary = type.match(head).captured(1).toLatin1();
    QVERIFY2(!boundary.isEmpty(), raw.constData());
    QCOMPARE(raw.mid(raw.indexOf("\r\n\r\n") + 4), body.replace("--B", "--" + boundary));
}

void TestHttpPayload::missingFile()
{
    const QString first = Write("first.bin", "1");
    const QString last = Write("last.bin", "3");
    const QString missing = dir.filePath("no/such");
    const auto form = IHttpRequestMultiPartData::CreateMultiPartFormData();
    for (const QString& path : {first, missing, last + "/never tried"}) {
        form->AddPart(IHttpRequestPartData::CreateFilePartFormData("f", path));
    }
    RecordingLogger log;
    QVERIFY(form->MultiPart() == nullptr);
    QCOMPARE(log.lines.size(), std::size_t(2));
    QCOMPARE(log.lines[0].text, QString("Failed to open file '%1'").arg(missing));
    QCOMPARE(log.lines[0].channel, QByteArray("http.form.part"));
    QCOMPARE(log.lines[1].text, QString("Failed to append part to multipart"));
    QCOMPARE(log.lines[1].channel, QByteArray("http.form.multipart"));
    QCOMPARE(log.lines[1].level, int(common::logger::Error));
    // Windows lets a file go only when nobody has it open.
    QVERIFY(QFile::remove(first));

    const auto good = IHttpRequestMultiPartData::CreateMultiPartFormData();
    good->AddPart(IHttpRequestPartData::CreateFilePartFormData("f", last));
    const std::unique_ptr<QHttpMultiPart> one(good->MultiPart());
    const std::unique_ptr<QHttpMultiPart> two(good->MultiPart());
    QCOMPARE(one->findChildren<QFile*>().size(), 1);
    QVERIFY(one->findChild<QFile*>() != two->findChild<QFile*>());
}

void TestHttpPayload::uploadIsWholeAgain()
{
    const QByteArray content(300000, 'x');
    const QString path = Write("upload.bin", content);
    const auto form = IHttpRequestMultiPartData::CreateMultiPartFormData();
    form->AddPart(IHttpRequestPartData::CreateFilePartFormData("f", path));

    FaultServer server({{QByteArray()}, {QByteArray()}, {Response("200 OK", "ok")}});
    QNetworkAccessManager manager;
    const std::unique_ptr<IHttpRequest> request(CreateHttpRequest(&manager, nullptr));
    SignalRecorder recorder(request.get());
    request->SetUrl(server.Url());
    request->SetData(form);
    request->SetAttemptCountOnNetworkProblem(9);
    request->SetAttemptIntervalOnNetworkProblem(0);
    QVERIFY(request->Post());
    QTRY_VERIFY(recorder.HasEnded());
    QCOMPARE(recorder.events.last(), QString("finished"));
    QCOMPARE(server.Requests().size(), 3);
    for (const QByteArray& raw : server.Requests()) {
        QVERIFY(raw.contains("\r\n\r\n" + content + "\r\n--"));
    }

#ifndef _WIN32 // Where a file in use cannot go.
    // Gone between two attempts: the retry fails, and only the log tells.
    FaultServer closing({{QByteArray()}});
    RecordingLogger log;
    recorder.events.clear();
    request->SetUrl(closing.Url());
    connect(request.get(), &IHttpRequest::replyFinished, this,
            [path] { QFile(path).rename(path + ".gone"); });
    QVERIFY(request->Post());
    const auto failures = [&log] {
        return std::count_if(log.lines.begin(), log.lines.end(), [](const auto& line) {
            return line.text.contains("Failed to create multipart/form-data POST request to URL='");
        });
    };
    QTRY_COMPARE(failures(), 1);
    QCOMPARE(recorder.Told(), QString("replyFinished"));
    QVERIFY(request->Reply() == nullptr);
#endif
}

QTEST_GUILESS_MAIN(TestHttpPayload)
#include "tst_httppayload.moc"

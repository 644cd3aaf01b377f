// Against nginx and tinyproxy; with-servers.sh starts them and tells their ports.

#include "signalrecorder.h"

#include "logger/recordinglogger.h"

#include <common/http/httprequest.h>
#include <common/http/ifiledownload.h>

#include <QAuthenticator>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QSignalSpy>
#include <QSslConfiguration>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace common::http;

namespace
{

QUrl Url(const char* server, const QString& path = "/hello.txt", const QString& scheme = "http")
{
    return QUrl(
        QString("%1://127.0.0.1:%2%3").arg(scheme).arg(qEnvironmentVariableIntValue(server)).arg(path));
}

QByteArray Hello()
{
    return QByteArray("hello ").repeated(100);
}

/// A caller that wants the peer verified after all.
class VerifyingRequest : public HttpRequest
{
public:
    using HttpRequest::HttpRequest;

protected:
    void SetSslConfiguration(QNetworkRequest& request) override
    {
        HttpRequest::SetSslConfiguration(request);
        QSslConfiguration configuration = request.sslConfiguration();
        configuration.setPeerVerifyMode(QSslSocket::VerifyPeer);
        request.setSslConfiguration(configuration);
    }
};

} // namespace

class TestHttpServers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void outcome_data();
    void outcome();
    void redirectPolicy();
    void tooManyRequests();
    void slowIsNotSilent();
#ifndef _WIN32 // Wine's TLS finds no way to use one.
    void clientCertificate();
#endif
    void verifiedPeer_data();
    void verifiedPeer();
    void actionInsideSslErrors_data();
    void actionInsideSslErrors();
    void proxies_data();
    void proxies();
    void download_data();
    void download();

private:
    QByteArray Fetch(const QString& path);

    std::unique_ptr<QNetworkAccessManager> manager;
    std::unique_ptr<IHttpRequest> request;
    std::unique_ptr<SignalRecorder> told;
};

void TestHttpServers::initTestCase()
{
    QVERIFY2(qEnvironmentVariableIsSet("SERVER_HTTP"), "run this program through with-servers.sh");
    QVERIFY(QSslSocket::supportsSsl());
}

void TestHttpServers::init()
{
    request.reset();
    manager = std::make_unique<QNetworkAccessManager>();
    manager->setProxy(QNetworkProxy::NoProxy);
    request.reset(CreateHttpRequest(manager.get(), nullptr));
    request->SetAttemptCountOnNetworkProblem(2);
    request->SetAttemptIntervalOnNetworkProblem(0);
    told = std::make_unique<SignalRecorder>(request.get());
}

QByteArray TestHttpServers::Fetch(const QString& path)
{
    const std::unique_ptr<IHttpRequest> one(CreateHttpRequest(manager.get(), nullptr));
    QSignalSpy spy(one.get(), &IHttpRequest::requestFinishedWithBinaryData);
    one->SetUrl(Url("SERVER_HTTP", path));
    return one->Get() && (!spy.isEmpty() || spy.wait()) ? spy.at(0).at(0).toByteArray() : QByteArray();
}

void TestHttpServers::outcome_data()
{
    QTest::addColumn<QUrl>("url");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<QByteArray>("body");

    const QString success = "replyFinished, binary, finished";
    QTest::newRow("gzip") << Url("SERVER_HTTP") << success << Hello();
    QTest::newRow("redirect") << Url("SERVER_HTTP", "/redirect") << success << Hello();
    QTest::newRow("TLS with a certificate of nobody")
        << Url("SERVER_TLS", "/hello.txt", "https") << success << Hello();
    QTest::newRow("404") << Url("SERVER_HTTP", "/none") << "replyFinished, error 203"
                         << QByteArray("404 Not Found");
    QTest::newRow("401") << Url("SERVER_HTTP", "/secret") << "replyFinished, error 204"
                         << QByteArray("401 Authorization Required");
    QTest::newRow("plain to TLS") << Url("SERVER_TLS") << "replyFinished, invalid 302, error 302"
                                  << QByteArray("plain HTTP request was sent to HTTPS port");
    QTest::newRow("TLS to plain") << Url("SERVER_HTTP", "/", "https")
                                  << "replyFinished, replyFinished, error " << QByteArray();
    QTest::newRow("no client certificate")
        << Url("SERVER_MTLS", "/hello.txt", "https") << "replyFinished, invalid 302, error 302"
        << QByteArray("No required SSL certificate was sent");
    QTest::newRow("no such host") << QUrl("http://no-such-host.invalid/")
                                  << "replyFinished, replyFinished, error 3" << QByteArray();
    QTest::newRow("no such scheme") << QUrl("gopher://127.0.0.1/") << "replyFinished, error 301"
                                    << QByteArray();
    QTest::newRow("no URL") << QUrl() << "replyFinished, error 301" << QByteArray();
}

void TestHttpServers::outcome()
{
    QFETCH(QUrl, url);
    QFETCH(QString, expected);
    QFETCH(QByteArray, body);

    request->SetUrl(url);
    QVERIFY(request->Get());
    QTRY_VERIFY(told->HasEnded());
    QVERIFY2(told->Told().startsWith(expected), qPrintable(told->Told()));
    QVERIFY2(told->binaryBody.contains(body), told->binaryBody.constData());
}

void TestHttpServers::redirectPolicy()
{
    request->SetUrl(Url("SERVER_HTTP", "/redirect"));
    request->SetAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    QVERIFY(request->Get());
    QTRY_VERIFY(told->HasEnded());
    QCOMPARE(told->events.last(), QString("finished"));
    QVERIFY2(told->binaryBody.contains("302 Found"), told->binaryBody.constData());
}

void TestHttpServers::tooManyRequests()
{
    Fetch("/limited");
    request->SetUrl(Url("SERVER_HTTP", "/limited"));
    QVERIFY(request->Get());
    const QString expected = "replyFinished, error 429 0, replyFinished, error 429 0, error 299 ";
    QTRY_COMPARE(told->Told().left(expected.size()), expected);
    QVERIFY2(told->binaryBody.contains("429 Too Many Requests"), told->binaryBody.constData());
}

void TestHttpServers::slowIsNotSilent()
{
    request->SetUrl(Url("SERVER_HTTP", "/slow"));
    request->SetTimeout(2);
    QVERIFY(request->Get());
    QTRY_VERIFY_WITH_TIMEOUT(told->HasEnded(), 20000);
    QCOMPARE(told->Told(), QString("replyFinished, binary, finished"));
    QCOMPARE(told->binaryBody, Hello());
}

#ifndef _WIN32
void TestHttpServers::clientCertificate()
{
    request->SetUrl(Url("SERVER_MTLS", "/hello.txt", "https"));
    request->SetSslCertificate(QSslCertificate(Fetch("/client.crt")),
                               QSslKey(Fetch("/client.key"), QSsl::Rsa),
                               QSslCertificate::fromData(Fetch("/server.crt")));
    QVERIFY(request->Get());
    QTRY_VERIFY(told->HasEnded());
    QVERIFY2(told->events.last() == "finished", qPrintable(told->errorText));
    QCOMPARE(told->Told(), QString("replyFinished, binary, finished"));
    QCOMPARE(told->binaryBody, Hello());
}
#endif

void TestHttpServers::verifiedPeer_data()
{
    QTest::addColumn<bool>("ignore");
    QTest::addColumn<QString>("expected");

    QTest::newRow("minded") << false << "replyFinished, replyFinished, error 6 0";
    QTest::newRow("ignored") << true << "replyFinished, binary, finished";
}

void TestHttpServers::verifiedPeer()
{
    QFETCH(bool, ignore);
    QFETCH(QString, expected);

    request.reset(new VerifyingRequest(manager.get(), nullptr));
    told = std::make_unique<SignalRecorder>(request.get());
    request->SetAttemptCountOnNetworkProblem(2);
    request->SetAttemptIntervalOnNetworkProblem(0);
    request->SetIgnoreSSLErrors(ignore);
    request->SetUrl(Url("SERVER_TLS", "/hello.txt", "https"));
    RecordingLogger log;
    QVERIFY(request->Get());
    QTRY_COMPARE(told->Told(), expected);
    const auto ignored = std::count_if(log.lines.begin(), log.lines.end(), [](const auto& line) {
        return line.level == common::logger::Warn && line.text.endsWith("]: Ignoring SSL errors!");
    });
    QCOMPARE(ignored, ignore ? 1 : 0);
}

void TestHttpServers::actionInsideSslErrors_data()
{
    QTest::addColumn<QString>("action");
    QTest::newRow("abort") << "abort";
    QTest::newRow("send") << "send";
    QTest::newRow("delete") << "delete";
}

void TestHttpServers::actionInsideSslErrors()
{
    QFETCH(QString, action);

    request.reset(new VerifyingRequest(manager.get(), nullptr));
    told = std::make_unique<SignalRecorder>(request.get());
    request->SetUrl(Url("SERVER_TLS", "/hello.txt", "https"));
    QVERIFY(request->Get());
    const QPointer<QNetworkReply> reply = request->Reply();
    connect(reply, &QNetworkReply::sslErrors, this, [this, action] {
        if (action == "delete") {
            request.reset();
        } else if (action == "abort") {
            request->Abort();
        } else {
            request->SetUrl(Url("SERVER_HTTP"));
            QVERIFY(request->Get());
        }
    });
    QTRY_VERIFY(reply.isNull());
    if (action == "send") {
        QTRY_VERIFY(told->HasEnded());
    }
    QCOMPARE(told->Told(), QString(action == "send" ? "replyFinished, binary, finished" : ""));
}

void TestHttpServers::proxies_data()
{
    QTest::addColumn<QString>("server");
    QTest::addColumn<QString>("user");
    QTest::addColumn<QUrl>("url");
    QTest::addColumn<QString>("expected");

    const QUrl http = Url("SERVER_HTTP");
    const QUrl https = Url("SERVER_TLS", "/hello.txt", "https");
    const QString success = "replyFinished, binary, finished";
    const QString refused = "replyFinished, proxy 105, error 105";
    QTest::newRow("open") << "SERVER_PROXY"
                          << "" << http << success;
    QTest::newRow("with the password") << "SERVER_AUTH_PROXY"
                                       << "user" << http << success;
    QTest::newRow("without the password") << "SERVER_AUTH_PROXY"
                                          << "" << http << refused;
    QTest::newRow("tunnel") << "SERVER_PROXY"
                            << "" << https << success;
}

void TestHttpServers::proxies()
{
    QFETCH(QString, server);
    QFETCH(QString, user);
    QFETCH(QUrl, url);
    QFETCH(QString, expected);

    const int port = qEnvironmentVariableIntValue(server.toLatin1());
    manager->setProxy(QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1", quint16(port), user, "secret"));
    request->SetUrl(url);
    QVERIFY(request->Get());
    QTRY_VERIFY(told->HasEnded());
    QVERIFY2(told->Told().startsWith(expected), qPrintable(told->Told()));
}

void TestHttpServers::download_data()
{
    QTest::addColumn<QUrl>("url");
    QTest::newRow("plain") << Url("SERVER_HTTP", "/large.bin");
    QTest::newRow("TLS") << Url("SERVER_TLS", "/large.bin", "https");
}

void TestHttpServers::download()
{
    QFETCH(QUrl, url);

    const QTemporaryDir dir;
    const std::unique_ptr<IFileDownload> file(CreateFileDownload(manager.get(), nullptr));
    QSignalSpy complete(file.get(), &IFileDownload::complete);
    QSignalSpy failed(file.get(), &IFileDownload::failed);
    file->SetUrl(url);
    file->SetFilePath(dir.filePath("large.bin"));
    file->SetFileSize(40000000);
    file->SetChecksum(Fetch("/large.md5"));
    QVERIFY(file->Start());
    QTRY_VERIFY_WITH_TIMEOUT(complete.size() + failed.size() > 0, 30000);
    QCOMPARE(complete.size(), 1);
}

QTEST_GUILESS_MAIN(TestHttpServers)
#include "tst_httpservers.moc"

// Against nginx and tinyproxy; with-servers.sh starts them and tells their ports.

#include "faultserver.h"
#include "recordedrequest.h"

#include "logger/recordinglogger.h"

#include <common/http/httprequest.h>
#include <common/http/ifiledownload.h>

#include <QDir>
#include <QSignalSpy>
#include <QSslConfiguration>
#include <QTemporaryDir>
#include <QTest>

using namespace common::http;

namespace
{

const QString success = "replyFinished, binary, finished";

QUrl Url(const char* server, const QString& path = "/hello.txt")
{
    const QString scheme = qstrcmp(server, "SERVER_HTTP") == 0 ? "http" : "https";
    return QUrl(QString("%1://127.0.0.1:%2%3").arg(scheme, qEnvironmentVariable(server), path));
}

QByteArray Served(const QString& name)
{
    QFile file(qEnvironmentVariable("SERVER_ROOT") + '/' + name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Those of managers that are gone may still be on their way out. None under Wine.
qsizetype NetworkThreads()
{
    const QStringList ids = QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    return std::count_if(ids.begin(), ids.end(), [](const QString& id) {
        QFile name("/proc/self/task/" + id + "/comm");
        return name.open(QIODevice::ReadOnly) && name.readAll().startsWith("QNetworkAccess");
    });
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

class TestHttpServers : public QObject, private RecordedRequest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init() { Renew(); }
    void outcome_data();
    void outcome();
    void verifiedPeer_data();
    void verifiedPeer();
    void download();

private:
    FaultServer hangingUp{{{QByteArray()}}};
};

void TestHttpServers::initTestCase()
{
    QVERIFY2(qEnvironmentVariableIsSet("SERVER_HTTP"), "run this program through with-servers.sh");
    QVERIFY(QSslSocket::supportsSsl());
}

void TestHttpServers::cleanupTestCase()
{
    request.reset();
    manager.reset();
    // OpenSSL frees what it has for a thread at the very end of that, and at exit a leak checker looks.
    QTRY_COMPARE(NetworkThreads(), 0);
}

void TestHttpServers::outcome_data()
{
    QTest::addColumn<QUrl>("url");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QNetworkProxy>("proxy");

    const auto row = [](const char* name, const QUrl& url, const QString& expected, const QByteArray& body,
                        const QNetworkProxy& proxy = QNetworkProxy::NoProxy) {
        QTest::newRow(name) << url << expected << body << proxy;
    };
    const auto proxy = [](quint16 port, const char* user = "") {
        return QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1", port, user, "secret");
    };
    const quint16 open = qEnvironmentVariable("SERVER_PROXY").toUShort();
    const quint16 locked = qEnvironmentVariable("SERVER_AUTH_PROXY").toUShort();
    const QByteArray hello = QByteArray("hello ").repeated(100);
    const QString invalid = "replyFinished, invalid 302, error 302";
    const QString busy = "replyFinished, error 429 0, ";

    row("gzip", Url("SERVER_HTTP"), success, hello);
    row("redirect", Url("SERVER_HTTP", "/redirect"), success, hello);
    row("slow", Url("SERVER_HTTP", "/slow"), success, hello);
    row("not yet limited", Url("SERVER_HTTP", "/limited"), success, hello);
    row("limited", Url("SERVER_HTTP", "/limited"), busy + busy + "error 299", "429 Too Many Requests");
    row("404", Url("SERVER_HTTP", "/none"), "replyFinished, error 203", "404 Not Found");
    row("401", Url("SERVER_HTTP", "/secret"), "replyFinished, error 204", "401 Authorization Required");
    row("certificate of nobody", Url("SERVER_TLS"), success, hello);
    row("redirect out of TLS", Url("SERVER_TLS", "/unsafe"), "replyFinished, error 11", "");
    row("no client certificate", Url("SERVER_MTLS"), invalid, "No required SSL certificate was sent");
#ifndef _WIN32 // Wine's TLS finds no way to use one.
    row("client certificate", Url("SERVER_MTLS"), success, hello);
#endif
    row("TLS to plain", QUrl(Url("SERVER_HTTP").toString().replace("http", "https")),
        "replyFinished, replyFinished, error ", "");
    row("no such host", QUrl("http://no-such-host.invalid/"), "replyFinished, replyFinished, error 3", "");
    row("no such scheme", QUrl("gopher://127.0.0.1/"), "replyFinished, error 301", "");
    row("no URL", QUrl(), "replyFinished, error 301", "");
    row("proxy", Url("SERVER_HTTP"), success, hello, proxy(open));
    row("tunnel", Url("SERVER_TLS"), success, hello, proxy(open));
    row("proxy with the password", Url("SERVER_HTTP"), success, hello, proxy(locked, "user"));
    row("proxy without it", Url("SERVER_HTTP"), "replyFinished, proxy 105, error 105", "", proxy(locked));
    row("proxy hangs up", Url("SERVER_TLS"), "replyFinished, proxy 102, error 102 0", "",
        proxy(hangingUp.serverPort()));
    // Qt has no code of a proxy's for this.
    row("proxy refuses", Url("SERVER_TLS"), "replyFinished, replyFinished, error 99 0", "",
        proxy(FaultServer().serverPort()));
}

void TestHttpServers::outcome()
{
    QFETCH(QUrl, url);
    QFETCH(QString, expected);
    QFETCH(QByteArray, body);
    QFETCH(QNetworkProxy, proxy);

    manager->setProxy(proxy);
    if (QTest::currentDataTag() == QByteArray("client certificate")) {
        request->SetSslCertificate(QSslCertificate(Served("client.crt")),
                                   QSslKey(Served("client.key"), QSsl::Rsa),
                                   QSslCertificate::fromData(Served("server.crt")));
    }
    request->SetUrl(url);
    request->SetTimeout(2);
    request->SetAttemptCountOnNetworkProblem(2);
    QVERIFY(request->Get());
    QTRY_COMPARE_WITH_TIMEOUT(told->Told().left(expected.size()), expected, 20000);
    QVERIFY2(told->body.contains(body), told->body.constData());
}

void TestHttpServers::verifiedPeer_data()
{
    QTest::addColumn<QString>("action"); // Inside the signal.
    QTest::addColumn<QString>("expected");

    QTest::newRow("minded") << ""
                            << "replyFinished, error 6 0";
    QTest::newRow("ignored") << "ignore" << success;
    QTest::newRow("delete") << "delete"
                            << "";
}

void TestHttpServers::verifiedPeer()
{
    QFETCH(QString, action);
    QFETCH(QString, expected);

    const RecordingLogger log;
    Use(new VerifyingRequest(manager.get(), nullptr));
    request->SetUrl(Url("SERVER_TLS"));
    request->SetIgnoreSSLErrors(action == "ignore");
    QVERIFY(request->Get());
    const QPointer<QNetworkReply> reply = request->Reply();
    QSignalSpy errors(reply, &QNetworkReply::sslErrors);
    connect(reply, &QNetworkReply::sslErrors, this, [this, action] {
        if (action == "delete") {
            request.reset();
        }
    });
    QTRY_VERIFY(expected.isEmpty() ? reply.isNull() : told->HasEnded());
    QCOMPARE(told->Told(), expected);
    QCOMPARE(errors.size(), 1);
    const auto ignored = std::count_if(log.lines.begin(), log.lines.end(), [](const auto& line) {
        return line.level == common::logger::Warn && line.text.endsWith("]: Ignoring SSL errors!");
    });
    QCOMPARE(ignored, action == "ignore" ? 1 : 0);
}

void TestHttpServers::download()
{
    const QTemporaryDir dir;
    const std::unique_ptr<IFileDownload> file(CreateFileDownload(manager.get(), nullptr));
    QSignalSpy complete(file.get(), &IFileDownload::complete);
    file->SetUrl(Url("SERVER_TLS", "/large.bin"));
    file->SetFilePath(dir.filePath("large.bin"));
    file->SetFileSize(40000000);
    file->SetChecksum(Served("large.md5"));
    QVERIFY(file->Start());
    QVERIFY(complete.wait(30000));
}

QTEST_GUILESS_MAIN(TestHttpServers)
#include "tst_httpservers.moc"

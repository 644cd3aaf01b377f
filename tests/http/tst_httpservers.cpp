// Tests against nginx; with-servers.sh starts it and passes its ports.

#include "recordedrequest.h"

#include "files/filetree.h"
#include "table.h"

#include <common/http/httprequest.h>

#include <QDir>

using namespace common::http;

namespace
{

QUrl Url(const char* server, const QString& path = "/hello.txt")
{
    return QUrl(QString("https://127.0.0.1:%1%2").arg(qEnvironmentVariable(server), path));
}

QByteArray Served(const QString& name)
{
    return filetree::Read(qEnvironmentVariable("SERVER_ROOT") + '/' + name);
}

/// Returns the names of this process's threads; empty under Wine.
QByteArray ThreadNames()
{
    QByteArray names;
    for (const QString& id : QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        names += filetree::Read("/proc/self/task/" + id + "/comm");
    }
    return names;
}

/// A request that keeps Qt's default, which is to verify the peer.
class VerifyingRequest : public HttpRequest
{
public:
    using HttpRequest::HttpRequest;

protected:
    void SetSslConfiguration(QNetworkRequest& /*request*/) override {}
};

} // namespace

class TestHttpServers : public QObject, private RecordedRequest
{
    Q_OBJECT

private Q_SLOTS:
    void cleanupTestCase();
    void init() { Renew(); }
    void outcome_data();
    void outcome();
};

void TestHttpServers::cleanupTestCase()
{
    request.reset();
    manager.reset();
    // Wait until the threads of the managers have ended: only then has OpenSSL freed their memory, which the
    // leak checker would report.
    QTRY_VERIFY(!ThreadNames().contains("QNetworkAccess"));
}

void TestHttpServers::outcome_data()
{
    const Table<QUrl, bool, QString> row("url", "verifies", "expected");
    row("certificate of nobody", Url("SERVER_TLS"), false, success);
    row("the same, minded", Url("SERVER_TLS"), true, "replyFinished, error 6 0");
    row("the same, ignored", Url("SERVER_TLS"), true, success);
    row("redirect out of TLS", Url("SERVER_TLS", "/unsafe"), false, "replyFinished, error 11 0");
#ifndef _WIN32 // Wine's TLS does not support client certificates.
    row("client certificate", Url("SERVER_MTLS"), false, success);
#endif
    row("no URL", QUrl(), false, "replyFinished, error 301 0");
}

void TestHttpServers::outcome()
{
    QFETCH(QUrl, url);
    QFETCH(bool, verifies);
    QFETCH(QString, expected);

    const QByteArray row = QTest::currentDataTag();
    if (verifies) {
        Use(new VerifyingRequest(manager.get(), nullptr));
    }
    request->SetIgnoreSSLErrors(row == "the same, ignored");
    if (row == "client certificate") {
        request->SetSslCertificate(QSslCertificate(Served("client.crt")),
                                   QSslKey(Served("client.key"), QSsl::Rsa),
                                   QSslCertificate::fromData(Served("server.crt")));
    }
    request->SetUrl(url);
    QVERIFY(request->Get());
    QTRY_COMPARE_WITH_TIMEOUT(Told(), expected, 10000);
    QVERIFY(expected != success || body == Served("hello.txt"));
}

QTEST_GUILESS_MAIN(TestHttpServers)
#include "tst_httpservers.moc"

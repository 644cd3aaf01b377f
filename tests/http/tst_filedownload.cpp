#include "faultserver.h"

#include "logger/recordinglogger.h"

#include <common/http/ifiledownload.h>
#include <common/tools/qcompressor.h>
#include <common/tools/stringconverter.h>

#include <QElapsedTimer>
#include <QNetworkAccessManager>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace common::http;
using tools::string::converter;

namespace
{

QByteArray ContentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be opened");
}

} // namespace

class TestFileDownload : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void defaults();
    void ids();
    void outcome_data();
    void outcome();
    void fileNotPrepared();
    void permissions();
    void startTwice();
    void abortIsSilent();
    void retry();
    void busyServer();
    void deletedInside_data();
    void deletedInside();
    void lostManager();

private:
    bool HasLogged(const QString& part) const;
    bool HasEnded() const { return !events.isEmpty(); }

    QTemporaryDir dir;
    QString path;
    std::unique_ptr<RecordingLogger> log;
    std::unique_ptr<QNetworkAccessManager> manager;
    std::unique_ptr<IFileDownload> download;
    QStringList events;
    qint64 lastProgress = -1;
};

void TestFileDownload::init()
{
    path = dir.filePath(QStringLiteral("made/for/%1.bin").arg(QTest::currentDataTag()));
    log = std::make_unique<RecordingLogger>();
    manager = std::make_unique<QNetworkAccessManager>();
    download.reset(CreateFileDownload(manager.get(), nullptr));
    download->SetFilePath(path);
    events.clear();
    lastProgress = -1;
    connect(download.get(), &IFileDownload::complete, this, [this] { events += "complete"; });
    connect(download.get(), &IFileDownload::failed, this, [this](int error, const QString& text) {
        events += QStringLiteral("failed %1 %2").arg(error).arg(text);
    });
    connect(download.get(), &IFileDownload::progress, this, [this](qint64 bytes) { lastProgress = bytes; });
}

void TestFileDownload::cleanup()
{
    download.reset();
    manager.reset();
    log.reset();
}

/// Lines carry "[id, attempt]: " in front.
bool TestFileDownload::HasLogged(const QString& part) const
{
    return std::any_of(log->lines.begin(), log->lines.end(), [&part](const RecordingLogger::Line& line) {
        return line.channel == "http.download" && line.text.section("]: ", 1).startsWith(part);
    });
}

void TestFileDownload::defaults()
{
    QCOMPARE(download->GetFileSize(), -1);
    QCOMPARE(download->GetTimeout(), 30);
    QCOMPARE(download->GetAttemptCount(), 0);
    QCOMPARE(download->GetChecksum(), QString());
    QVERIFY(download->IgnoreSSLErrors() && !download->isRunning() && download->GetUrl().isEmpty());
    download->SetTimeout(7);
    download->SetIgnoreSSLErrors(false);
    download->SetUrl(QUrl("http://h/"));
    QCOMPARE(download->GetTimeout(), 7);
    QVERIFY(!download->IgnoreSSLErrors());
    QCOMPARE(download->GetUrl(), QUrl("http://h/"));
}

void TestFileDownload::ids()
{
    QObject parent;
    IFileDownload* const next = CreateFileDownload(manager.get(), &parent);
    QVERIFY(download->GetId() >= 100000);
    QCOMPARE(next->GetId(), download->GetId() + 1);
    QCOMPARE(next->parent(), &parent);
}

void TestFileDownload::outcome_data()
{
    QTest::addColumn<QByteArray>("response");
    QTest::addColumn<qint64>("size");
    QTest::addColumn<QString>("checksum");
    QTest::addColumn<QString>("event");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("line");

    const auto row = [](const char* name, const QByteArray& response, qint64 size, const QString& checksum,
                        const char* event, const QByteArray& content, const QString& line = QString()) {
        QTest::newRow(name) << response << size << checksum << QString(event) << content << line;
    };
    const QByteArray large(30000000, 'l');
    const QString bad = "failed 900103 Download verification failed!";
    const QString sum = converter::ToMD5(QByteArray("body"));
    const QByteArray ok = Response("200 OK", "body");
    QByteArray packed;
    tools::QCompressor::gzipCompress(large, packed, 1);

    row("unchecked", ok, -1, "", "complete", "body", "readed from device 4, written 4 bytes.");
    row("0 bytes", Response("200 OK", ""), 0, converter::ToMD5(QByteArray()), "complete", "");
    row("1 byte", Response("200 OK", "b"), 1, converter::ToMD5(QByteArray("b")).toUpper(), "complete", "b");
    row("larger than the buffer", Response("200 OK", large), large.size(), converter::ToMD5(large),
        "complete", large);
    row("without a length", "HTTP/1.1 200 OK\r\n\r\n" + large, large.size(), converter::ToMD5(large),
        "complete", large);
    row("chunked", "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nbod\r\n1\r\ny\r\n0\r\n\r\n", 4,
        sum, "complete", "body");
    row("gzip stays packed", Response("200 OK", packed, "Content-Encoding: gzip\r\n"), packed.size(),
        converter::ToMD5(packed), "complete", packed);
    row("wrong size", ok, 5, sum, qPrintable(bad), "body",
        "Checking download failed by size! Expected 5 bytes, downloaded 4 bytes.");
    row("wrong checksum", Response("200 OK", "bodx"), 4, sum, qPrintable(bad), "bodx",
        "Checking download failed by checksum! Expected '" + sum + "', downloaded '" +
            converter::ToMD5(QByteArray("bodx")) + "'.");
    row("error page", Response("404 No", "page"), -1, "", "failed 203 Error transferring", "page",
        "Failed with error 203, (Error transferring");
    row("cut off", Response("200 OK", "body").chopped(1), -1, "", "failed 2 Connection closed", "bod");
}

void TestFileDownload::outcome()
{
    QFETCH(QByteArray, response);
    QFETCH(qint64, size);
    QFETCH(QString, checksum);
    QFETCH(QString, event);
    QFETCH(QByteArray, content);
    QFETCH(QString, line);

    FaultServer server({{response}});
    download->SetUrl(server.Url());
    download->SetFileSize(size);
    download->SetChecksum(checksum);
    QVERIFY(download->Start());
    QVERIFY(!download->isRunning());
    QTRY_VERIFY(HasEnded());
    QCOMPARE(events.size(), 1);
    QVERIFY2(events.at(0).startsWith(event), qPrintable(events.at(0)));
    const QByteArray written = ContentOf(path);
    QVERIFY(written == content);
    QCOMPARE(lastProgress, content.size());
    QVERIFY2(HasLogged(line), qPrintable(line));
    QVERIFY(log->lines.front().text.startsWith(QString("[%1, 1]: Trying to start").arg(download->GetId())));
    QCOMPARE(HasLogged("Downloading failed. No more tries."), event != "complete");
}

void TestFileDownload::fileNotPrepared()
{
    download->SetUrl(QUrl("http://127.0.0.1:1/"));
    download->SetAttemptCount(3);
    QFile obstacle(dir.filePath("obstacle"));
    QVERIFY(obstacle.open(QIODevice::WriteOnly));
    download->SetFilePath(obstacle.fileName() + "/file");
    QVERIFY(!download->Start());
    QVERIFY(HasLogged("Failed to create directory '" + obstacle.fileName() + "'!"));
    // A folder stands where the file should.
    QVERIFY(QDir(dir.path()).mkpath("folder"));
    download->SetFilePath(dir.filePath("folder"));
    QVERIFY(!download->Start());
    QVERIFY(HasLogged("Failed to open file '" + dir.path() + "'!") && HasLogged("I/O error: '"));
    QCOMPARE(events, QStringList({"failed 900102 Can't prepare file!", "failed 900102 Can't prepare file!"}));
}

void TestFileDownload::permissions()
{
    FaultServer server({{Response("200 OK", "body")}});
    download->SetUrl(server.Url());
    download->SetPermissions(QFile::ExeOwner);
    QVERIFY(download->Start());
    QTRY_COMPARE(events, QStringList{"complete"});
    QCOMPARE(download->GetPermissions(), QFile::Permissions(QFile::ExeOwner));
#ifdef Q_OS_UNIX
    QVERIFY(QFileInfo(path).isExecutable());
#endif
}

void TestFileDownload::startTwice()
{
    FaultServer server({{Response("200 OK", "body")}});
    download->SetUrl(server.Url());
    QVERIFY(download->Start());
    QVERIFY(!download->Start());
    QVERIFY(HasLogged("Can't start download: request already started!"));
    QTRY_COMPARE(events, QStringList{"complete"});
    // The same object again, over the file that is there.
    QVERIFY(download->Start());
    QTRY_COMPARE(events, QStringList({"complete", "complete"}));
}

void TestFileDownload::abortIsSilent()
{
    FaultServer server({{Response("200 OK", QByteArray(10, 'x')).chopped(1), Answer::Hang}});
    download->SetUrl(server.Url());
    QVERIFY(download->Start());
    QTRY_COMPARE(server.OpenConnections(), 1);
    download->Abort();
    QTRY_COMPARE(server.OpenConnections(), 0);
    QCOMPARE(events, QStringList());
    QVERIFY(download->Start());
    QVERIFY(HasLogged("closing previously open file '" + path + "'."));
}

void TestFileDownload::retry()
{
    FaultServer server({{Response("200 OK", "bad!")}, {Response("200 OK", "body")}});
    download->SetUrl(server.Url());
    download->SetChecksum(converter::ToMD5(QByteArray("body")));
    download->SetAttemptCount(2);
    QElapsedTimer time;
    time.start();
    QVERIFY(download->Start());
    QTRY_COMPARE_WITH_TIMEOUT(events, QStringList{"complete"}, 20000);
    QVERIFY2(time.elapsed() >= 4750, qPrintable(QString::number(time.elapsed())));
    QCOMPARE(ContentOf(path), QByteArray("body"));
    QVERIFY(HasLogged("Retrying download..."));
    QVERIFY(log->lines.back().text.startsWith(QString("[%1, 2]: ").arg(download->GetId())) ||
            log->lines.back().channel != "http.download");
}

void TestFileDownload::busyServer()
{
    FaultServer server({{Response("429 Busy", "wait")}});
    download->SetUrl(server.Url());
    QVERIFY(download->Start());
    QTRY_COMPARE(events.size(), 2);
    QVERIFY2(events.at(0).startsWith("failed 429 "), qPrintable(events.at(0)));
    QVERIFY2(events.at(1).startsWith("failed 299 "), qPrintable(events.at(1)));

    // With a try left both tellings schedule one, and the second finds the first on its way.
    events.clear();
    download->SetAttemptCount(3);
    QVERIFY(download->Start());
    QTRY_COMPARE_WITH_TIMEOUT(events.size(), 2, 20000);
    QVERIFY(HasLogged("Can't start download: request already started!"));
    QCOMPARE(server.Connections(), 3);
}

void TestFileDownload::deletedInside_data()
{
    QTest::addColumn<QByteArray>("response");
    QTest::addColumn<QString>("where");

    QTest::newRow("complete") << Response("200 OK", "body") << "complete";
    QTest::newRow("failed") << Response("404 No", "body") << "failed";
    QTest::newRow("failed by 429") << Response("429 No", "body") << "failed";
    QTest::newRow("progress") << Response("200 OK", "body") << "progress";
}

void TestFileDownload::deletedInside()
{
    QFETCH(QByteArray, response);
    QFETCH(QString, where);

    FaultServer server({{response}});
    download->SetUrl(server.Url());
    const auto deleteIt = [this] { download.reset(); };
    if (where == "complete") {
        connect(download.get(), &IFileDownload::complete, this, deleteIt);
    } else if (where == "failed") {
        connect(download.get(), &IFileDownload::failed, this, deleteIt);
    } else {
        connect(download.get(), &IFileDownload::progress, this, deleteIt);
    }
    QVERIFY(download->Start());
    QTRY_VERIFY(download == nullptr);
    QTRY_COMPARE(server.OpenConnections(), 0);
    QVERIFY(QFile::remove(path));
}

void TestFileDownload::lostManager()
{
    manager.reset();
    QVERIFY(!download->Start());
    QCOMPARE(events, QStringList{"failed 900101 Can't start download: request failed!"});
}

QTEST_GUILESS_MAIN(TestFileDownload)
#include "tst_filedownload.moc"

#include "faultserver.h"

#include "logger/recordinglogger.h"

#include <common/http/ifiledownload.h>
#include <common/http/ihttprequest.h>
#include <common/tools/qcompressor.h>
#include <common/tools/stringconverter.h>

#include <QElapsedTimer>
#include <QNetworkAccessManager>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace common::http;
using tools::string::converter;

class TestFileDownload : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void outcome_data();
    void outcome();
    void notStarted();
#ifndef _WIN32 // Which has no device that is always full.
    void fullDisk();
#endif
    void startAndAbort();
    void retry();
    void busyServer();
    void deletedInside();

public Q_SLOTS:
    void Delete()
    {
        download.reset();
    }

private:
    void Start(const FaultServer& server);
    bool HasLogged(const QString& text, int attempt = 1) const;

    RecordingLogger log;
    QTemporaryDir dir;
    QString path;
    std::unique_ptr<QNetworkAccessManager> manager;
    std::unique_ptr<IFileDownload> download;
    QStringList events;
    qint64 lastProgress = -1;
};

void TestFileDownload::init()
{
    download.reset();
    log.lines.clear();
    events.clear();
    path = dir.filePath(QString("made/for/%1.bin").arg(QTest::currentDataTag()));
    manager = std::make_unique<QNetworkAccessManager>();
    download.reset(CreateFileDownload(manager.get(), nullptr));
    download->SetFilePath(path);
    connect(download.get(), &IFileDownload::complete, this, [this] { events += "complete"; });
    connect(download.get(), &IFileDownload::failed, this, [this](int error, const QString& text) {
        events += QString("failed %1 %2").arg(error).arg(text);
    });
    connect(download.get(), &IFileDownload::progress, this, [this](qint64 bytes) { lastProgress = bytes; });
}

void TestFileDownload::Start(const FaultServer& server)
{
    download->SetUrl(server.Url());
    QVERIFY(download->Start());
    QVERIFY(!download->isRunning());
}

bool TestFileDownload::HasLogged(const QString& text, int attempt) const
{
    const QString start = QString("[%1, %2]: ").arg(download->GetId()).arg(attempt) + text;
    return std::any_of(log.lines.begin(), log.lines.end(), [&start](const RecordingLogger::Line& line) {
        return line.channel == "http.download" && line.text.startsWith(start);
    });
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
    const auto whole = [row](const char* name, const QByteArray& response, const QByteArray& content) {
        row(name, response, content.size(), converter::ToMD5(content).toUpper(), "complete", content);
    };
    const char* const bad = "failed 900103 Download verification failed!";
    const QString sum = converter::ToMD5(QByteArray("body"));
    const QByteArray ok = Response("200 OK", "body");
    const QByteArray large(30000000, 'l');
    QByteArray packed;
    tools::QCompressor::gzipCompress(large, packed, 1);

    row("unchecked", ok, -1, "", "complete", "body", "readed from device 4, written 4 bytes.");
    whole("0 bytes", Response("200 OK", ""), "");
    whole("1 byte", Response("200 OK", "b"), "b");
    whole("larger than the buffer", Response("200 OK", large), large);
    whole("redirected", Response("200 OK", large), large);
    whole("without a length", "HTTP/1.1 200 OK\r\n\r\n" + large, large);
    whole("chunked", "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nbod\r\n1\r\ny\r\n0\r\n\r\n",
          "body");
    whole("gzip stays packed", Response("200 OK", packed, "Content-Encoding: gzip\r\n"), packed);
    row("wrong size", ok, 0, sum, bad, "body",
        "Checking download failed by size! Expected 0 bytes, downloaded 4 bytes.");
    row("wrong checksum", Response("200 OK", "bodx"), 4, sum, bad, "bodx",
        "Checking download failed by checksum! Expected '" + sum + "', downloaded '" +
            converter::ToMD5(QByteArray("bodx")) + "'.");
    row("error page", Response("404 No", "page"), -1, "", "failed 203 Error transferring", "page",
        "Failed with error 203, (Error transferring");
    row("cut off", ok.chopped(1), -1, "", "failed 2 Connection closed", "bod");
}

void TestFileDownload::outcome()
{
    QFETCH(QByteArray, response);
    QFETCH(qint64, size);
    QFETCH(QString, checksum);
    QFETCH(QString, event);
    QFETCH(QByteArray, content);
    QFETCH(QString, line);

    QList<Answer> answers{{response}};
    if (qstrcmp(QTest::currentDataTag(), "redirected") == 0) {
        // Its body is larger than what may wait in memory.
        answers.prepend({Response("302 Found", QByteArray(9000000, 'r'), "Location: /there\r\n")});
    }
    FaultServer server(answers);
    download->SetFileSize(size);
    download->SetChecksum(checksum);
    download->SetPermissions(QFile::ExeOwner);
    Start(server);
    QTRY_COMPARE(events.size(), 1);
    QVERIFY2(events.at(0).startsWith(event), qPrintable(events.at(0)));
    // What arrives between two tellings of progress waits in memory.
    QVERIFY(download->findChild<IHttpRequest*>()->Reply()->readBufferSize() > 0);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly) && file.readAll() == content);
#ifndef _WIN32 // Where the name decides it.
    QVERIFY(QFileInfo(file).isExecutable());
#endif
    QCOMPARE(lastProgress, content.size());
    QVERIFY2(HasLogged(line), qPrintable(line));
    QCOMPARE(HasLogged("Downloading failed. No more tries."), event != "complete");
}

void TestFileDownload::notStarted()
{
    QVERIFY(download->GetTimeout() == 30 && download->IgnoreSSLErrors() && download->GetFileSize() < 0);
    QVERIFY(download->GetId() >= 100000 && CreateFileDownload(nullptr, this)->GetId() > download->GetId());

    download->SetAttemptCount(3);
    QFile obstacle(dir.filePath("obstacle"));
    QVERIFY(obstacle.open(QIODevice::WriteOnly));
    download->SetFilePath(obstacle.fileName() + "/file");
    QVERIFY(!download->Start());
    QVERIFY(HasLogged("Failed to create directory '" + obstacle.fileName() + "'!"));
    QVERIFY(QDir(dir.path()).mkpath("folder"));
    download->SetFilePath(dir.filePath("folder"));
    QVERIFY(!download->Start());
    QVERIFY(HasLogged("Failed to open file '" + dir.path() + "'!") && HasLogged("I/O error: '"));
    manager.reset();
    download->SetFilePath(path);
    QVERIFY(!download->Start());
    const QString unprepared = "failed 900102 Can't prepare file!";
    QCOMPARE(events,
             QStringList({unprepared, unprepared, "failed 900101 Can't start download: request failed!"}));
}

#ifndef _WIN32
void TestFileDownload::fullDisk()
{
    FaultServer server({{Response("200 OK", QByteArray(100000, 'x'))}});
    download->SetFilePath("/dev/full");
    download->SetFileSize(100000);
    Start(server);
    QTRY_COMPARE(events, QStringList{"failed 900103 Download verification failed!"});
    QVERIFY(HasLogged("readed from device 100000, written -1 bytes."));
}
#endif

void TestFileDownload::startAndAbort()
{
    FaultServer server({{Response("200 OK", "body").chopped(1), Answer::Hang}, {Response("200 OK", "body")}});
    Start(server);
    QVERIFY(!download->Start());
    QVERIFY(HasLogged("Can't start download: request already started!"));
    QTRY_COMPARE(server.openConnections, 1);
    download->Abort();
    QTRY_COMPARE(server.openConnections, 0);
    QCOMPARE(events, QStringList());
    // The same object again, over the file that is there.
    Start(server);
    QVERIFY(HasLogged("closing previously open file '" + path + "'."));
    QTRY_COMPARE(events, QStringList{"complete"});
    QCOMPARE(QFileInfo(path).size(), 4);
}

void TestFileDownload::retry()
{
    FaultServer server({{Response("200 OK", "not it")}, {Response("200 OK", "body")}});
    download->SetFileSize(4);
    download->SetAttemptCount(2);
    QElapsedTimer time;
    time.start();
    Start(server);
    QTRY_COMPARE_WITH_TIMEOUT(events, QStringList{"complete"}, 20000);
    QVERIFY2(time.elapsed() >= 4750, qPrintable(QString::number(time.elapsed())));
    QVERIFY(HasLogged("Retrying download...") && HasLogged("Trying to start download...", 2));
}

void TestFileDownload::busyServer()
{
    // Told twice, it ends twice, and with tries left schedules two, of which the second finds the first.
    FaultServer server({{Response("429 Busy", "wait")}});
    for (const int attempts : {1, 3}) {
        events.clear();
        download->SetAttemptCount(attempts);
        Start(server);
        QTRY_COMPARE_WITH_TIMEOUT(events.size(), 2, 20000);
        QVERIFY(events.at(0).startsWith("failed 429 ") && events.at(1).startsWith("failed 299 "));
    }
    QVERIFY(HasLogged("Can't start download: request already started!", 3));
    QCOMPARE(server.requests.size(), 3);
}

void TestFileDownload::deletedInside()
{
    for (const char* signal :
         {SIGNAL(complete()), SIGNAL(failed(int, QString)), SIGNAL(progress(qint64, qint64))}) {
        init();
        FaultServer server({{Response(signal[1] == 'f' ? "429 Busy" : "200 OK", "body")}});
        connect(download.get(), signal, this, SLOT(Delete()));
        Start(server);
        QTRY_VERIFY(download == nullptr);
        QTRY_COMPARE(server.openConnections, 0);
    }
}

QTEST_GUILESS_MAIN(TestFileDownload)
#include "tst_filedownload.moc"

#include "faultserver.h"

#include "files/filetree.h"
#include "logger/recordinglogger.h"
#include "table.h"

#include <common/http/ifiledownload.h>
#include <common/http/ihttprequest.h>
#include <common/tools/stringconverter.h>

#include <QNetworkAccessManager>
#include <QRegularExpression>
#include <QTcpSocket>
#include <QTemporaryDir>

#include <memory>

#ifndef _WIN32
#include "resourcelimit.h"
#endif

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
#ifndef _WIN32 // Windows has no RLIMIT_FSIZE.
    void fullDisk();
#endif
    void changedByAnother_data();
    void changedByAnother();
    void startAndAbort();
    void retry();
    void deletedInside();

public Q_SLOTS:
    void Delete()
    {
        download.reset();
    }

private:
    void Start(const FaultServer& server);
    /// Returns whether this download has logged a line.
    bool HasLogged(const QString& text) const
    {
        return log.Contains(text, QString("[%1, ").arg(download->GetId()));
    }

    RecordingLogger log;
    QTemporaryDir dir;
    QString path;
    std::unique_ptr<QNetworkAccessManager> manager;
    std::unique_ptr<IFileDownload> download;
    QStringList events;
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
}

void TestFileDownload::Start(const FaultServer& server)
{
    download->SetUrl(server.Url());
    QVERIFY(download->Start());
    QVERIFY(!download->isRunning());
}

void TestFileDownload::outcome_data()
{
    const Table<QList<Answer>, qint64, QString, QString, QByteArray> row("answers", "size", "checksum",
                                                                         "event", "content");
    const auto whole = [row](const char* name, const QList<Answer>& answers, const QByteArray& content) {
        row(name, answers, content.size(), converter::ToMD5(content).toUpper(), "complete", content);
    };
    const char* const bad = "failed 900103 Download verification failed!";
    const QString sum = converter::ToMD5(QByteArray("body"));
    const Answer ok{Response("200 OK", "body")};
    const QByteArray large(30000000, 'l'); // Exceeds the read buffer; so does the redirect's body.
    const Answer redirect{Response("302 Found", QByteArray(9000000, 'r'), "Location: /there\r\n")};

    whole("0 bytes", {{Response("200 OK", "")}}, "");
    whole("redirected", {redirect, {Response("200 OK", large)}}, large);
    whole("gzip stays packed", {{Response("200 OK", large, "Content-Encoding: gzip\r\n")}}, large);
    row("unchecked", {ok}, -1, "", "complete", "body");
    row("wrong size", {ok}, 0, sum, bad, "body");
    row("wrong checksum", {ok}, 4, "none", bad, "body");
    row("error page", {{Response("404 No", "page")}}, -1, "", "failed 203 .*", "page");
    row("busy, told twice", {{Response("429 No", "page")}}, -1, "", "failed 429 .*, failed 299 .*", "page");
}

void TestFileDownload::outcome()
{
    QFETCH(QList<Answer>, answers);
    QFETCH(qint64, size);
    QFETCH(QString, checksum);
    QFETCH(QString, event);
    QFETCH(QByteArray, content);

    FaultServer server(answers);
    download->SetFileSize(size);
    download->SetChecksum(checksum);
    download->SetPermissions(QFile::ExeOwner);
    Start(server);
    const QRegularExpression expected(QRegularExpression::anchoredPattern(event));
    QTRY_VERIFY2(expected.match(events.join(", ")).hasMatch(), qPrintable(events.join(", ")));
    // The read buffer must still be limited after retries and redirects.
    QVERIFY(download->findChild<IHttpRequest*>()->Reply()->readBufferSize() > 0);
    QVERIFY(QFile::exists(path));
    QVERIFY(filetree::Read(path) == content);
#ifndef _WIN32 // On Windows, the file name extension decides.
    QVERIFY(QFileInfo(path).isExecutable());
#endif
    QCOMPARE(HasLogged("Downloading failed. No more tries."), event != "complete");
}

void TestFileDownload::notStarted()
{
    QCOMPARE(download->GetTimeout(), 30);
    QVERIFY(download->IgnoreSSLErrors());
    QCOMPARE(download->GetFileSize(), -1);
    QVERIFY(download->GetId() >= 100000);
    QVERIFY(CreateFileDownload(nullptr, this)->GetId() > download->GetId());

    download->SetAttemptCount(3);
    download->SetFilePath(dir.path());
    QVERIFY(!download->Start());
    QVERIFY(HasLogged("Failed to open file '"));
    QVERIFY(HasLogged("I/O error: '"));
    const QString noFile = "failed 900102 Can't prepare file!";
#ifndef _WIN32
    filetree::Build(dir.path(), {"fifo|"}); // Opening it would block.
    download->SetFilePath(dir.filePath("fifo"));
    QVERIFY(!download->Start());
    QCOMPARE(events.takeLast(), noFile);
#endif
    manager.reset();
    download->SetFilePath(path);
    QVERIFY(!download->Start());
    QCOMPARE(events, QStringList({noFile, "failed 900101 Can't start download: request failed!"}));
}

#ifndef _WIN32
void TestFileDownload::fullDisk()
{
    const QByteArray body(9000000, 'x'); // Exceeds the read buffer.
    FaultServer server({{Response("200 OK", body)}});
    const ResourceLimit bytes(RLIMIT_FSIZE, 1000000);
    for (const bool checksum : {false, true}) { // The data is complete, but the file is not.
        init();
        checksum ? download->SetChecksum(converter::ToMD5(body)) : download->SetFileSize(body.size());
        Start(server);
        QTRY_COMPARE(events, QStringList{"failed 900103 Download verification failed!"});
    }
}
#endif

void TestFileDownload::changedByAnother_data()
{
    const Table<Answer, qint64> row("answer", "after");
    row("while more arrives", {Response("200 OK", "body"), Answer::Close, 300}, 1);
    row("after the last byte", {"HTTP/1.1 200 OK\r\n\r\nbody", Answer::Hang, 150}, 4);
}

// The received data has the right checksum, but the file on disk does not.
void TestFileDownload::changedByAnother()
{
    QFETCH(Answer, answer);
    QFETCH(qint64, after);

    FaultServer server({answer});
    download->SetChecksum(converter::ToMD5(QByteArray("body")));
    Start(server);
    QTRY_VERIFY(QFileInfo(path).size() >= after);
    QTest::qWait(50); // The resolution of time stamps is several milliseconds.
    std::fstream(filetree::ToPath(path)) << 'B';
    if (answer.ending == Answer::Hang) {
        server.findChild<QTcpSocket*>()->disconnectFromHost();
    }
    QTRY_COMPARE(events, QStringList{"failed 900103 Download verification failed!"});
    QCOMPARE(filetree::Read(path), "Body");
}

void TestFileDownload::startAndAbort()
{
    FaultServer server({{Response("200 OK", "body").chopped(1), Answer::Hang}, {Response("200 OK", "body")}});
    Start(server);
    QVERIFY(!download->Start());
    QVERIFY(HasLogged("Can't start download: request already started!"));
    QTRY_COMPARE(server.OpenConnections(), 1);
    download->Abort();
    QTRY_COMPARE(server.OpenConnections(), 0);
    QCOMPARE(events, QStringList());
    // The same object can download again, over the existing file.
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
    Start(server);
    QTRY_COMPARE_WITH_TIMEOUT(events, QStringList{"complete"}, 20000);
    QVERIFY(HasLogged("Checking download failed by size! Expected 4 bytes, downloaded 6 bytes."));
    QVERIFY(HasLogged(", 2]: Trying to start download..."));
}

void TestFileDownload::deletedInside()
{
    for (const auto& [signal, status] : {std::pair(SIGNAL(complete()), "200 OK"),
                                         {SIGNAL(failed(int, QString)), "429 Busy"},
                                         {SIGNAL(progress(qint64, qint64)), "200 OK"}}) {
        init();
        FaultServer server({{Response(status, "body")}});
        connect(download.get(), signal, this, SLOT(Delete()));
        Start(server);
        QTRY_VERIFY(download == nullptr);
        QTRY_COMPARE(server.OpenConnections(), 0);
    }
}

QTEST_GUILESS_MAIN(TestFileDownload)
#include "tst_filedownload.moc"

#include "faultserver.h"

#include "files/filetree.h"
#include "table.h"

#include <QProcess>
#include <QTemporaryDir>

class TestHttpCommands : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void commands_data();
    void commands();
#ifndef _WIN32 // A console program there cannot be sent Ctrl-C without sending it to this program as well.
    void interrupt();
#endif
    void goodFileStays();
};

void TestHttpCommands::commands_data()
{
    // In the arguments, URL, FILE and JSON are placeholders. Request, error and output are parts of what the
    // server receives and the tool prints.
    const Table<QStringList, QList<Answer>, int, QByteArray, QByteArray, QByteArray> row(
        "arguments", "answers", "exitCode", "request", "error", "output");
    const Answer ok{Response("200 OK", "body")};
    const Answer busy{Response("429 Busy", "wait")};
    const auto misused = [row](const QStringList& arguments, const QByteArray& complaint) {
        row(complaint.constData(), arguments, {}, 2, "", complaint, "");
    };
    row("get", {"get", "-v", "URL", "--query", "a=1 2", "--header", "Accept-Encoding: é"}, {ok}, 0,
        "\r\nAccept-Encoding: é\r\n",
        "replyFinished 200\nrequestFinishedWithBinaryData 4\nrequestFinished 4\n", "body");
    row("retried", {"get", "URL", "--attempts", "2", "--interval", "0"}, {busy, ok}, 0, "GET / ", "", "body");
    row("busy to the end", {"get", "URL"}, {busy}, 1, "", "error 299 (HTTP status 429): ", "");
    row("steers no terminal", {"get", "URL"}, {{Response("404 \x1b[31m\x9b", "")}}, 1, "",
        "replied: \\x1b[31m\\x9b\n", "");
    row("no redirect", {"get", "URL", "--redirect", "manual"},
        {{Response("302 Found", "r", "Location: /\r\n")}}, 0, "", "", "r");
    row("post JSON", {"post", "URL", "--json-file", "JSON"}, {ok}, 0, "\r\n\r\n{\"n\":[1]}", "", "");
    row("post a form", {"post", "URL", "--form", "b=&", "--form", "a=="}, {ok}, 0, "\r\n\r\na=%3D&b=%26", "",
        "");
    row("post files", {"post", "URL", "--text", "t=x", "--file", "f=JSON"}, {ok}, 0, "filename=\"json\"", "",
        "");
    row("post a missing file", {"post", "URL", "--file", "f=FILE/none"}, {ok}, 1, "", "could not be sent",
        "");
    row("download", {"download", "URL", "FILE", "--size", "4", "--md5", "841A2D689AD86BD1611447453C22C6FC"},
        {ok}, 0, "GET / ", "100 % of 4 bytes", "file: 4 bytes in ");
    row("download to standard output", {"download", "URL", "-"}, {ok}, 0, "GET / ", "", "body");
    row("download, wrong size", {"download", "URL", "FILE", "--size", "5"}, {ok}, 1, "",
        "error 900103: Download verification failed! ", "");
    row("download over a directory", {"download", "URL", "."}, {ok}, 1, "", ". is not a regular file\n", "");
    misused({"post", "URL", "--form", "a=b", "--text", "a=b"}, "exclude each other");
    misused({"get", "URL", "--interval", "-5"}, "--interval takes a number from 0 to 2147483647");
    misused({"download", "URL"}, "a URL and a file are needed");
    misused({"get", "URL", "--header", "X: a\r\nY: b"}, "--header must not contain line breaks");
    misused({"post", "URL", "--text", "a\nY: b=c"}, "names of parts and files must not contain line breaks");
    misused({"get", "URL", "--client-cert", "JSON"}, "must be in PEM");
}

void TestHttpCommands::commands()
{
    QFETCH(QStringList, arguments);
    QFETCH(QList<Answer>, answers);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, error);
    QFETCH(QByteArray, output);

    const QTemporaryDir dir;
    FaultServer server(answers);
    const QString json = dir.filePath("json");
    filetree::Write(json, "{ \"n\": [1] }");
    arguments.replaceInStrings("URL", server.Url().toString());
    arguments.replaceInStrings("FILE", dir.filePath("got/file")).replaceInStrings("JSON", json);

    QProcess tool;
    tool.start(VXTOOL_PROGRAM, arguments);
    QTRY_COMPARE_WITH_TIMEOUT(tool.state(), QProcess::NotRunning, 60000);
    QVERIFY2(tool.error() == QProcess::UnknownError, qUtf8Printable(tool.errorString()));
    const QByteArray printedError = tool.readAllStandardError();
    QVERIFY2(printedError.contains(error), printedError);
    QCOMPARE(tool.exitCode(), exitCode);
    const QByteArray sent = server.requests.join();
    QVERIFY2(sent.contains(request), sent);
    const QByteArray printed = tool.readAllStandardOutput();
    QVERIFY2(printed.contains(output), printed);
}

#ifndef _WIN32
void TestHttpCommands::interrupt()
{
    const QTemporaryDir dir;
    FaultServer server({{Response("200 OK", "body").chopped(1), Answer::Hang}});
    QProcess tool;
    tool.start(VXTOOL_PROGRAM, {"download", server.Url().toString(), dir.filePath("file")});
    QTRY_COMPARE(server.requests.size(), 1);
    tool.terminate();
    QTRY_COMPARE(tool.state(), QProcess::NotRunning);
    QCOMPARE(filetree::Snapshot(dir.path()), QStringList());
    QCOMPARE(tool.exitStatus(), QProcess::CrashExit); // That is, by the signal.
    QVERIFY(tool.readAllStandardError().endsWith("vxtool download: interrupted\n"));
}
#endif

void TestHttpCommands::goodFileStays()
{
    const QTemporaryDir dir;
    FaultServer server(
        {{Response("404 No", "page")}, {Response("404 No", "page")}, {Response("200 OK", "new")}});
    filetree::Write(dir.filePath("file"), "good");
    const auto download = [&](const QStringList& options) {
        QProcess tool;
        tool.start(VXTOOL_PROGRAM,
                   QStringList{"download", server.Url().toString(), dir.filePath("file")} + options);
        // The server answers on this thread.
        return QTest::qWaitFor([&] { return tool.state() == QProcess::NotRunning; }, 60000)
                   ? filetree::Snapshot(dir.path()).join(' ')
                   : QString();
    };
    QCOMPARE(download({}), QString("file=good"));
    QCOMPARE(download({"--keep-partial"}), QString("file.part=page file=good"));
    QCOMPARE(download({}), QString("file=new"));
}

QTEST_GUILESS_MAIN(TestHttpCommands)
#include "tst_httpcommands.moc"

#include "faultserver.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

class TestHttpCommands : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void commands_data();
    void commands();
#ifndef _WIN32 // A console program there cannot be sent Ctrl-C without sending it to this program as well.
    void interrupt();
#endif
};

void TestHttpCommands::commands_data()
{
    QTest::addColumn<QStringList>("arguments"); // With URL, FILE and JSON for what the test has.
    QTest::addColumn<QList<Answer>>("answers");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<QByteArray>("error");   // A part of it.
    QTest::addColumn<QByteArray>("request"); // A part of the last one.

    const QByteArray ok = Response("200 OK", "body");
    const Answer busy{Response("429 Busy", "wait")};
    const auto row = [](const char* name, const QStringList& arguments, const QList<Answer>& answers,
                        int exitCode, const QByteArray& output, const QByteArray& error,
                        const QByteArray& request) {
        QTest::newRow(name) << arguments << answers << exitCode << output << error << request;
    };
    row("get", {"get", "URL", "--query", "a=1 2", "--header", "X-A: b"}, {{ok}}, 0, "body", "",
        "GET /?a=1%202 HTTP");
    row("get, signals", {"get", "-v", "URL"}, {{ok}}, 0, "body",
        "replyFinished 200\nrequestFinishedWithBinaryData 4\nrequestFinished 4\n", "");
    row("get, retried", {"get", "URL", "--attempts", "2", "--interval", "0"}, {busy, {ok}}, 0, "body", "",
        "GET / ");
    row("get, busy to the end", {"get", "URL"}, {busy}, 1, "", "error 299: ", "GET / ");
    row("get, 404", {"get", "URL"}, {{Response("404 No", "page")}}, 1, "",
        "vxtool get: error 203: ", "GET / ");
    row("get, silence", {"get", "URL", "--timeout", "1"}, {{"", Answer::Hang}}, 1, "",
        "error 4: Request timed out", "");
    row("get, no redirect", {"get", "URL", "--redirect", "manual"},
        {{Response("302 Found", "r", "Location: /\r\n")}}, 0, "r", "", "GET / ");
    row("post JSON", {"post", "URL", "--json", "JSON"}, {{ok}}, 0, "body", "", "\r\n\r\n{\"n\":[1]}");
    row("post a form", {"post", "URL", "--form", "b=&", "--form", "a=="}, {{ok}}, 0, "body", "",
        "\r\n\r\na=%3D&b=%26");
    row("post files", {"post", "URL", "--text", "t=x", "--file", "f=JSON"}, {{ok}}, 0, "body", "",
        "filename=\"json\"");
    row("post a missing file", {"post", "URL", "--file", "f=FILE/none"}, {{ok}}, 1, "", "could not be sent",
        "");
    row("post, two payloads", {"post", "URL", "--form", "a=b", "--text", "a=b"}, {{ok}}, 2, "", "exclude",
        "");
    row("get, no number", {"get", "URL", "--timeout", "soon"}, {{ok}}, 2, "", "--timeout takes a number", "");
    row("get, no certificate", {"get", "URL", "--client-cert", "JSON"}, {{ok}}, 2, "", "must be in PEM", "");
    row("download", {"download", "URL", "FILE", "--size", "4", "--md5", "841A2D689AD86BD1611447453C22C6FC"},
        {{ok}}, 0, "FILE: 4 B in ", "100 % of 4 B", "GET / ");
    row("download, wrong size", {"download", "URL", "FILE", "--size", "5"}, {{ok}}, 1, "",
        "vxtool download: error 900103: Download verification failed!\n", "");
    row("download, no file", {"download", "URL"}, {{ok}}, 2, "", "a URL and a file are needed", "");
}

void TestHttpCommands::commands()
{
    QFETCH(QStringList, arguments);
    QFETCH(QList<Answer>, answers);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, output);
    QFETCH(QByteArray, error);
    QFETCH(QByteArray, request);

    const QTemporaryDir dir;
    FaultServer server(answers);
    const QString file = dir.filePath("got/file");
    QFile json(dir.filePath("json"));
    QVERIFY(json.open(QIODevice::WriteOnly) && json.write("{ \"n\": [1] }") > 0);
    json.close();
    arguments.replaceInStrings("URL", server.Url().toString());
    arguments.replaceInStrings("FILE", file).replaceInStrings("JSON", json.fileName());

    QProcess tool;
    tool.start(QStringLiteral(VXTOOL_PROGRAM), arguments);
    QTRY_COMPARE_WITH_TIMEOUT(tool.state(), QProcess::NotRunning, 20000);
    const QByteArray complaint = tool.readAllStandardError();
    QVERIFY2(tool.exitCode() == exitCode, complaint.constData());
    const QByteArray printed = tool.readAllStandardOutput();
    QVERIFY2(printed.startsWith(output.replace("FILE", file.toUtf8())), printed.constData());
    QVERIFY2(complaint.contains(error), complaint.constData());
    const QByteArray raw = server.Requests().isEmpty() ? QByteArray() : server.Requests().last();
    QVERIFY2(raw.contains(request), raw.constData());
}

#ifndef _WIN32
void TestHttpCommands::interrupt()
{
    const QTemporaryDir dir;
    FaultServer server({{Response("200 OK", QByteArray(100, 'x')).chopped(1), Answer::Hang}});
    QProcess tool;
    tool.start(QStringLiteral(VXTOOL_PROGRAM), {"download", server.Url().toString(), dir.filePath("file")});
    QTRY_COMPARE(server.Requests().size(), 1);
    tool.terminate();
    QTRY_COMPARE(tool.state(), QProcess::NotRunning);
    QCOMPARE(tool.exitStatus(), QProcess::NormalExit);
    QCOMPARE(tool.exitCode(), 1);
    QVERIFY(tool.readAllStandardError().endsWith("vxtool download: interrupted\n"));
    QTRY_COMPARE(server.OpenConnections(), 0);
}
#endif

QTEST_GUILESS_MAIN(TestHttpCommands)
#include "tst_httpcommands.moc"

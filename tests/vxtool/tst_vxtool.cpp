#include "files/filetree.h"
#include "http/faultserver.h"
#include "table.h"

#include <common/vxcommon_features.h>

#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>

class TestVxtool : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { dir = std::make_unique<QTemporaryDir>(); }
    void answers_data();
    void answers() { VerifyAnswer(); }
    void mistakes_data();
    void mistakes() { VerifyAnswer(); }
    void help();
    void gzip();
    void json();
    void files();
    void http_data();
    void http();
    void goodFileStays();
#ifndef _WIN32 // On Windows, Ctrl-C would also reach this program.
    void interrupt();
#endif
#if VXCOMMON_HAS_LOG4CPP
    void logFile();
#endif

private:
    /// `error` must be a part of standard error; if `error` is empty, standard error must be empty.
    using AnswerTable = Table<QString, QByteArray, QByteArray, int, QByteArray>;

    /// The outcome of a run of vxtool; the exit code is -1 if it crashed or did not end.
    struct Result
    {
        int exitCode;
        QByteArray output;
        QByteArray error;
    };

    Result Run(const QString& arguments, const QByteArray& input = QByteArray()) const;
    void VerifyAnswer() const;
    QStringList Files() const
    {
        return filetree::Snapshot(dir->path());
    }

    std::unique_ptr<QTemporaryDir> dir; ///< Working directory of vxtool.
};

/// Runs vxtool with arguments that are separated by bars.
TestVxtool::Result TestVxtool::Run(const QString& arguments, const QByteArray& input) const
{
    QProcess process;
    QSignalSpy finished(&process, &QProcess::finished);
    process.setWorkingDirectory(dir->path());
    const QStringList list = arguments.isEmpty() ? QStringList() : arguments.split('|');
    // On a busy machine, Wine sometimes cannot start a program.
    for (int attempt = 0; attempt < 3 && process.state() == QProcess::NotRunning; ++attempt) {
        process.start(VXTOOL_PROGRAM, list);
    }
    process.write(input);
    process.closeWriteChannel();
    if (!finished.wait(60000) || process.exitStatus() != QProcess::NormalExit) {
        return {-1, process.readAllStandardOutput(), process.errorString().toUtf8()};
    }
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

void TestVxtool::answers_data()
{
    const AnswerTable row("arguments", "input", "output", "exitCode", "error");
    const auto good = [row](const char* name, const QString& arguments, const QByteArray& input,
                            const QByteArray& output) { row(name, arguments, input, output, 0, ""); };
    good("lines of versions", "version|compare", "2 1\n1 1.0\n",
         "2.0.0.0\t>\t1.0.0.0\n1.0.0.0\t=\t1.0.0.0\n");
    good("table of columns", "version|parse|--table|--columns|version,minor|1.2|10", "",
         "version   minor\n1.2.0.0   2\n10.0.0.0  0\n");
    good("text like an option", "hex|--|-1", "", "2d31\n");
    row("false is a failure", "process|exists|no such process", "", "false\tno such process\n", 1, "");
    row("result in JSON of a failure", "component|register|--admin|--json|none", "",
        "{\"result\":\"0x80004002\",\"file\":\"none\"}\n", 1, "none: ");
    good("message like an option", "single|tst_vxtool|--serve=60", "", "first\ttst_vxtool\n");
    good("key of 17 bytes", "encrypt|--key|0123456789abcdef0|hello", "", "4o9ssVeElvk8ggRy+7hc7g==\n");
    good("key from standard input", "decrypt|--key-file|-|4o9ssVeElvk8ggRy+7hc7g==", "0123456789abcdef0\r\n",
         "hello\n");
    good("JSON from standard input", "json|set|-|b|x", "{\"a\":1}",
         "{\n    \"a\": 1,\n    \"b\": \"x\"\n}\n");
#ifdef Q_OS_UNIX
    good("JSON from a pipe", "json|set|/dev/stdin|b|x", "{}", "{\n    \"b\": \"x\"\n}\n");
#endif
    good("sum of standard input", "md5", "a\n", "60b725f10c9c85c70d97880dfe8191b3  -\n");
    good("sum of a string", "md5|--string|a", "", "0cc175b9c0f1b6a831c399e269772661\n");
    good("lines of Windows", "hex", "ж\r\na", "d0b6\n61\n");
    good("group size", "uuidform|--group|4|abcd", "", "{6162-6364}\n");
    good("UTF-8 limit", "split|--utf8|4|абв", "", "2\t4\tаб\n1\t2\tв\n");
    good("links in JSON", "links|--json|-", "ж\nhttp://a.com.",
         "{\"start\":2,\"length\":12,\"text\":\"http://a.com\"}\n");
#if VXCOMMON_HAS_QREGEXP
    row("each kind of SIP error", "sip|check", "a@b.quollsip.com\nb\n\n c",
        "NoError\ta@b.quollsip.com\nFormatError\tb\nLengthError\t\nSymbolError\t c\n", 1, "");
    row("a row stays one line", "sip|check|a\tb\nc", "", "SymbolError\ta\\tb\\nc\n", 1, "");
    good("parts in JSON", "sip|parse|--json|\"A\" <sip:a@b.com:5060;x>", "",
         "{\"ok\":true,\"user\":\"a\",\"domain\":\"b.com\",\"name\":\"A\",\"extension\":\"\",\"port\":"
         "\"5060\"}\n");
    good("contact", "contact|--name|Ann|skype:ANN", "",
         "SkypeName\tann\tskype: ann\tann@skype.com\tann\tskype.com\t\tAnn\n");
    row("one bad password", "password|bad|good-enough", "", "false\tbad\ntrue\tgood-enough\n", 1, "");
    good("one column", "web|--columns|locale|a@b.ru", "", "LocaleRu\n");
#endif
}

void TestVxtool::mistakes_data()
{
    const AnswerTable row("arguments", "input", "output", "exitCode", "error");
    const auto fails = [row](const char* name, const QString& arguments, const QByteArray& error) {
        row(name, arguments, "", "", 1, error);
    };
    const auto misused = [row](const char* name, const QString& arguments, const QByteArray& error) {
        row(name, arguments, "", "", 2, error);
    };
    fails("program with options", "start|no such program|--json|-x", "\"no such program\"");
    fails("scan nothing", "scan|none", "there is no directory \"none\"");
    fails("copy no directory", "copydir|none|x", "\"none\" is not a directory");
    fails("move no directory", "movedir|none|x", "\"none\" is not a directory");
    fails("remove no directory", "removeafterexit|none", "there is no directory \"none\"");
    fails("shortcut to nothing", "shortcut|none|x.desktop", "there is no target \"none\"");
    fails("shortcut in no directory", "shortcut|.|no/such/x.desktop", "there is no directory \"");
    fails("no such process", "process|terminate|999999999", "cannot end process 999999999: ");
    fails("not encrypted", "decrypt|--key|k|YWJj", "\"YWJj\" is not encrypted text in Base64");
    fails("bad scheme", "protocols|register|a b", "\"a b\" is not a URL scheme");
    fails("no file to pack", "gzip|no/such/file", "cannot read no/such/file: ");
    fails("log in no directory", "--log|/no/such/folder/a.log|version|parse|1", "a.log: ");

    row("options in an address", "--callto|tel:+49 1|--log|log", "", "--callto tel:+49 1 --log log\n", 0, "");
    misused("nothing", "", "a command is needed");
    misused("empty key", "json|set|-|a|x|--key|", "the key is empty");
    misused("download to no name", "download|http://localhost:9/|x/", "\"x/\" names no file");
    misused("misspelt command", "vresion|parse", "unknown command: vresion. Did you mean version parse?\n");
#if VXCOMMON_HAS_QREGEXP
    misused("half a command", "sip", "  sip parse  ");
    misused("misspelt second word", "sip|chek|a", "unknown command: sip chek. Did you mean sip check?\n");
#endif
    misused("misspelt option", "hex|--halp", "Did you mean --help?\nTry 'vxtool hex --help'.\n");
    misused("unknown column", "version|parse|--columns|major,frob|1", "\"frob\"");
    misused("missing argument", "copy|a", "are needed");
    misused("no number", "process|wait|--timeout|long|x", "--timeout");
    misused("URL without a scheme", "get|127.0.0.1:8765/", "Did you mean http://127.0.0.1:8765/?\n");
    misused("unknown log level", "--log|x|--log-level|loud|version|parse|1", "0 to 7");
    misused("long key", "encrypt|--key|0123456789abcdef0123456789abcdef0|x", "32 bytes");
}

void TestVxtool::VerifyAnswer() const
{
    QFETCH(QString, arguments);
    QFETCH(QByteArray, input);
    QFETCH(QByteArray, output);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, error);

    const Result result = Run(arguments, input);
    QCOMPARE(result.output, output);
    QVERIFY2(error.isEmpty() ? result.error.isEmpty() : result.error.contains(error), result.error);
    QCOMPARE(result.exitCode, exitCode);
    QCOMPARE(Files(), QStringList());
}

void TestVxtool::help()
{
    for (const char* arguments : {"help", "help|post", "encrypt|--help", "-h", "json|--help"}) {
        const Result result = Run(arguments);
        QCOMPARE(result.exitCode, 0);
        for (const QByteArray& line : result.output.split('\n')) {
            QVERIFY2(line.size() <= 80, line);
        }
    }
    QVERIFY(Run("help").output.contains("  version compare  "));
    QVERIFY(Run("help|hex").output.startsWith("Usage: vxtool hex [OPTION...] [TEXT...]\n"));
    QCOMPARE(Run("-h").output, Run("help").output);
}

void TestVxtool::gzip()
{
    const QByteArray input = QByteArray("\r\n\x1a", 3).repeated(50000);
    const QByteArray packed = Run("gzip|--level|9", input).output;
    QVERIFY(packed.size() < 1000);
    QCOMPARE(Run("gunzip", packed.chopped(1)).exitCode, 1);
    QCOMPARE(Run("gunzip", packed + packed + QByteArray(512, '\0')).output, input + input);
    QCOMPARE(Run("gunzip", packed + "x").exitCode, 1);
    const QByteArray ofNothing = QByteArray::fromHex("1f8b080000000000000303000000000000000000");
    QCOMPARE(Run("gunzip", ofNothing + packed).output, input);

    // An empty pipe is not a failure: vxtool waits for its input.
    QProcess unpacker;
    unpacker.start(VXTOOL_PROGRAM, {"gunzip"});
    QVERIFY(unpacker.waitForStarted(60000));
    QVERIFY(!unpacker.waitForFinished(300));
    unpacker.write(packed);
    unpacker.closeWriteChannel();
    QVERIFY(unpacker.waitForFinished(60000));
    QCOMPARE(unpacker.readAllStandardOutput(), input);
}

void TestVxtool::json()
{
    QCOMPARE(Run("json|set|new/file|a|[1, true]|--key|k").exitCode, 0);
    QCOMPARE(Run("json|set|new/file|b|some text|--key|k").exitCode, 0);
    // A wrong key must not lose any data.
    QCOMPARE(Run("json|set|new/file|b|x|--key|l").exitCode, 1);
    QCOMPARE(Run("json|show|new/file|--key|k").output,
             "{\n    \"a\": [\n        1,\n        true\n    ],\n    \"b\": \"some text\"\n}\n");
}

void TestVxtool::files()
{
    const QStringList before{"a=1", "d/b=2", "d/e/c=3", "t/"};
    const auto verify = [&](const char* arguments, int exitCode, const QByteArray& answer,
                            const QStringList& after) {
        init();
        filetree::Build(dir->path(), before);
        const Result result = Run(arguments);
        QCOMPARE(result.exitCode, exitCode);
        QVERIFY2((exitCode == 0 ? result.output : result.error).contains(answer), result.error);
        QCOMPARE(Files(), after);
    };
    verify("copy|a|d/|t", 0, "3 items copied\n",
           {"a=1", "d/b=2", "d/e/c=3", "t/a=1", "t/d/b=2", "t/d/e/c=3"});
    verify("copy|a|d/|x", 2, "is not a directory", before);
    verify("copy|x|y", 1, "error 700103: Source file '", before);
    verify("copy|a|d/b/c", 1, "error 700104: ", before);
    verify("remove|d|a|x", 0, "6 items removed\n", {"t/"});
    verify("remove|/", 2, "is the root", before);
    verify("remove|", 2, "must not be empty", before);
    QVERIFY(Run("copy|--timing|a|x").output.startsWith("1 item copied in "));
    QCOMPARE(Run("copy|--quiet|a|x").output, "");
    QCOMPARE(Run("copydir|d|t").exitCode, 0);
    QVERIFY(Run("copydir|d|t").error.contains("\"t/b\" already exists"));
    QVERIFY(Run("scan|--null|d").output.endsWith(QByteArray("c\0", 2)));
    QCOMPARE(Run("scan|").output, "");
#ifdef Q_OS_UNIX
    qputenv("XDG_CONFIG_HOME", dir->path().toUtf8());
    qputenv("XDG_DATA_HOME", dir->path().toUtf8());
    filetree::Build(dir->path(), {"mimeapps.list/d/"});
    const Result registration = Run("protocols|register|tel");
    qunsetenv("XDG_CONFIG_HOME");
    qunsetenv("XDG_DATA_HOME");
    QCOMPARE(registration.exitCode, 1);
    QVERIFY(registration.error.contains("mimeapps.list"));
    filetree::Build(dir->path(), {"h/.a=1", "h/.b/c=1", "h/v=1"});
    QVERIFY(Run("copy|h|t|--log|log").error.contains("left out: 2 hidden (--log"));
    QVERIFY(Run("remove|h").error.contains("(the directory is not empty); 1 item removed\n"));
    filetree::Build(dir->path(), {"l->d/e"});
    QCOMPARE(Run("remove|l/../b").exitCode, 0);
    QVERIFY2(!QFile::exists(dir->filePath("d/b")), "\"..\" is the directory above the target of the link");
#endif
}

void TestVxtool::http_data()
{
    // "URL" stands for the URL of the server; the file "in/json" exists. The server must receive `request`,
    // and vxtool must print `output` and `error`; each is a part of the whole.
    const Table<QString, QList<Answer>, int, QByteArray, QByteArray, QByteArray> row(
        "arguments", "answers", "exitCode", "request", "output", "error");
    const auto misused = [row](const char* name, const QString& arguments, const QByteArray& error) {
        row(name, arguments, {}, 2, "", "", error);
    };
    const Answer ok{Response("200 OK", "body")};
    const Answer busy{Response("429 Busy", "wait")};
    row("get", "get|-v|URL|--query|a=1 2|--header|Accept-Encoding: é", {ok}, 0, "\r\nAccept-Encoding: é\r\n",
        "body", "replyFinished 200\nrequestFinishedWithBinaryData 4\nrequestFinished 4\n");
    row("retried", "get|URL|--attempts|2|--interval|0", {busy, ok}, 0, "GET / ", "body", "");
    row("busy to the end", "get|URL", {busy}, 1, "", "", "error 299 (HTTP status 429): ");
    row("steers no terminal", "get|URL", {{Response("404 \x1b[31m\x9b", "")}}, 1, "", "",
        "replied: \\x1b[31m\\x9b\n");
    row("no redirect", "get|URL|--redirect|manual", {{Response("302 Found", "r", "Location: /\r\n")}}, 0, "",
        "r", "");
    row("post JSON", "post|URL|--json-file|in/json", {ok}, 0, "\r\n\r\n{\"n\":[1]}", "", "");
    row("post a form", "post|URL|--form|b=&|--form|a==", {ok}, 0, "\r\n\r\na=%3D&b=%26", "", "");
    row("post files", "post|URL|--text|t=x|--file|f=in/json", {ok}, 0, "filename=\"json\"", "", "");
    row("post a missing file", "post|URL|--file|f=none", {ok}, 1, "", "", "could not be sent");
    row("download", "download|URL|got/file|--size|4|--md5|841A2D689AD86BD1611447453C22C6FC", {ok}, 0,
        "GET / ", "file: 4 bytes in ", "100 % of 4 bytes");
    row("download to standard output", "download|URL|-", {ok}, 0, "GET / ", "body", "");
    row("download, wrong size", "download|URL|file|--size|5", {ok}, 1, "", "",
        "error 900103: Download verification failed! ");
    row("download over a directory", "download|URL|.", {ok}, 1, "", "", ". is not a regular file\n");
    misused("form and parts", "post|URL|--form|a=b|--text|a=b", "cannot be combined");
    misused("interval", "get|URL|--interval|-5", "--interval takes a number from 0 to 2147483647");
    misused("download without a file", "download|URL", "a URL and a file are needed");
    misused("header in a header", "get|URL|--header|X: a\r\nY: b", "--header must not contain line breaks");
    misused("header in a name", "post|URL|--text|a\nY: b=c", "names of parts and files must not contain");
    misused("no certificate", "get|URL|--client-cert|in/json", "must be in PEM");
}

void TestVxtool::http()
{
    QFETCH(QString, arguments);
    QFETCH(QList<Answer>, answers);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, output);
    QFETCH(QByteArray, error);

    FaultServer server(answers);
    filetree::Build(dir->path(), {"in/json={ \"n\": [1] }"});
    const Result result = Run(arguments.replace("URL", server.Url().toString()));
    QVERIFY2(result.error.contains(error), result.error);
    QCOMPARE(result.exitCode, exitCode);
    QVERIFY2(result.output.contains(output), result.output);
    const QByteArray sent = server.requests.join();
    QVERIFY2(sent.contains(request), sent);
}

void TestVxtool::goodFileStays()
{
    FaultServer server(
        {{Response("404 No", "page")}, {Response("404 No", "page")}, {Response("200 OK", "new")}});
    filetree::Build(dir->path(), {"file=good"});
    const QString download = "download|" + server.Url().toString() + "|file";
    QCOMPARE(Run(download).exitCode, 1);
    QCOMPARE(Files(), QStringList{"file=good"});
    QCOMPARE(Run(download + "|--keep-partial").exitCode, 1);
    QCOMPARE(Files(), QStringList({"file.part=page", "file=good"}));
    QCOMPARE(Run(download).exitCode, 0);
    QCOMPARE(Files(), QStringList{"file=new"});
}

#ifndef _WIN32
void TestVxtool::interrupt()
{
    FaultServer server({{Response("200 OK", "body").chopped(1), Answer::Hang}});
    QProcess tool;
    tool.start(VXTOOL_PROGRAM, {"download", server.Url().toString(), dir->filePath("file")});
    QTRY_COMPARE(server.requests.size(), 1);
    tool.terminate();
    QTRY_COMPARE(tool.state(), QProcess::NotRunning);
    QCOMPARE(Files(), QStringList());
    QCOMPARE(tool.exitStatus(), QProcess::CrashExit); // Ended by the signal.
    QVERIFY(tool.readAllStandardError().endsWith("vxtool download: interrupted\n"));
}
#endif

#if VXCOMMON_HAS_LOG4CPP
void TestVxtool::logFile()
{
    QCOMPARE(Run("--log|log|version|parse|1|--log-source").exitCode, 0);
    const QString log = Files().join('|');
    QVERIFY2(log.contains("main: command version parse begins (vxtool::"), qPrintable(log));
#ifdef Q_OS_UNIX // URLs in the log may contain passwords.
    QVERIFY(!QFile::permissions(dir->filePath("log")).testAnyFlags(QFile::ReadGroup | QFile::ReadOther));
#endif
}
#endif

QTEST_GUILESS_MAIN(TestVxtool)
#include "tst_vxtool.moc"

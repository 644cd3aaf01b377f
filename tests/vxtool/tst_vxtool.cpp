#include "vxtool/runtool.h"

#include <common/vxcommon_features.h>

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

class TestVxtool : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void answers_data();
    void answers();
    void wrongUsage_data();
    void wrongUsage();
    void help();
    void logFile();
    void unreadableInput();
    void handOver();
};

void TestVxtool::answers_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<int>("exitCode");

    const auto row = [](const char* name, const char* arguments, const char* input, const char* output,
                        int exitCode) {
        QTest::newRow(name) << QString::fromUtf8(arguments).split(u'|') << QByteArray(input)
                            << QByteArray(output) << exitCode;
    };
    row("compare", "version|compare|1.2.3|1.2.10", "", "1.2.3.0\t<\t1.2.10.0\n", 0);
    row("compare from standard input", "version|compare", "2 1\n1 1.0\n",
        "2.0.0.0\t>\t1.0.0.0\n1.0.0.0\t=\t1.0.0.0\n", 0);
    row("compare with too little", "version|compare", "2\n1 1\n", "1.0.0.0\t=\t1.0.0.0\n", 1);
    row("options before and behind", "version|parse|--json|1.2", "",
        "{\"version\":\"1.2.0.0\",\"major\":1,\"minor\":2,\"build\":0,\"release\":0}\n", 0);
    row("table", "version|parse|--table|1.2|10", "",
        "version   major  minor  build  release\n"
        "1.2.0.0   1      2      0      0\n"
        "10.0.0.0  10     0      0      0\n",
        0);
    row("chosen columns", "version|parse|--table|--columns|version,minor|1.2", "",
        "version  minor\n1.2.0.0  2\n", 0);
    row("process that does not run", "process|exists|no such process", "", "false\tno such process\n", 1);
    row("process from standard input", "process|wait|--timeout|100", "none\n", "0\tnone\n", 0);
    row("shortcut that cannot be", "shortcut|target|/no/such/folder/x", "", "", 1);
    row("options of the program that is started", "start|no such program|--json|-x", "", "", 1);
    row("component that is none", "component|register|--admin|--json|none", "",
        "{\"result\":\"0x80004002\",\"file\":\"none\"}\n", 1);
    row("a clicked address", "--callto|tel:+49 1", "", "--callto tel:+49 1\n", 0);
    row("no input at all", "version|parse", "", "", 0);
    row("single, first", "single|tst_vxtool|unheard", "", "first\ttst_vxtool\n", 0);
#if VXCOMMON_HAS_QREGEXP
    row("sip check from standard input", "sip|check", "a@b.quollsip.com\r\nb\n\n c",
        "NoError\ta@b.quollsip.com\nFormatError\tb\nLengthError\t\nSymbolError\t c\n", 1);
    row("sip check, all valid", "sip|check|a@quollsip.com", "", "NoError\ta@quollsip.com\n", 0);
    row("a row stays one line", "sip|check|a\tb\nc", "", "SymbolError\ta\\tb\\nc\n", 1);
    row("a long cell is cut", "sip|check|--table|--columns|id",
        "12345678901234567890123456789012345678901234567890",
        "id\n1234567890123456789012345678901234567890123\xe2\x80\xa6\n", 1);
    row("sip parse", "sip|parse|--json|\"A\" <sip:a@b.com:5060;x>", "",
        "{\"ok\":true,\"user\":\"a\",\"domain\":\"b.com\",\"name\":\"A\",\"extension\":\"\",\"port\":"
        "\"5060\"}\n",
        0);
    row("an empty first cell keeps its column",
        "sip|parse|--table|--columns|name,port,domain|123|a@b.com:5060", "",
        "name  port  domain\n\n      5060  b.com\n", 0);
    row("contact", "contact|--json|--name|Ann|skype:ANN", "",
        "{\"kind\":\"SkypeName\",\"address\":\"ann\",\"displayText\":\"skype: "
        "ann\",\"fullAddress\":\"ann@skype.com\","
        "\"number\":\"ann\",\"domain\":\"skype.com\",\"extension\":\"\",\"displayName\":\"Ann\"}\n",
        0);
    row("password", "password|good-enough|bad", "", "true\tgood-enough\nfalse\tbad\n", 1);
#endif
}

void TestVxtool::answers()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, input);
    QFETCH(QByteArray, output);
    QFETCH(int, exitCode);

    const Result result = RunTool(arguments, input);
    QCOMPARE(result.output, output);
    QCOMPARE(result.exitCode, exitCode);
}

void TestVxtool::wrongUsage_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("hint");

    QTest::newRow("nothing") << QStringList{} << QByteArray("no command");
    QTest::newRow("unknown command") << QStringList{"nonsense"} << QByteArray("\"nonsense\"");
    QTest::newRow("single without an id") << QStringList{"single"} << QByteArray("application id");
    QTest::newRow("single for no time")
        << QStringList{"single", "a", "--serve", "-1"} << QByteArray("--serve");
    QTest::newRow("half a command") << QStringList{"version"} << QByteArray("\"version\"");
    QTest::newRow("unknown option") << QStringList{"version", "parse", "--frob"} << QByteArray("frob");
    QTest::newRow("unknown option in front")
        << QStringList{"--frob", "version", "parse"} << QByteArray("frob");
    QTest::newRow("unknown column") << QStringList{"version", "parse", "--columns", "major,frob", "1"}
                                    << QByteArray("\"frob\"");
    QTest::newRow("three versions") << QStringList{"version", "compare", "1", "2", "3"}
                                    << QByteArray("two versions");
    QTest::newRow("one folder to copy") << QStringList{"copydir", "a"} << QByteArray("destination");
    QTest::newRow("time-out is no number")
        << QStringList{"process", "wait", "--timeout", "long", "x"} << QByteArray("--timeout");
    QTest::newRow("watch for no number")
        << QStringList{"watch", "--for", "-1"} << QByteArray("number of seconds");
    QTest::newRow("an application without a name")
        << QStringList{"protocols", "unregister-app", "--application", ""} << QByteArray("must not be empty");
    QTest::newRow("log level is no number")
        << QStringList{"--log", "x", "--log-level", "loud", "version", "parse", "1"} << QByteArray("0 to 7");
#if VXCOMMON_HAS_LOG4CPP
    QTest::newRow("log in no folder")
        << QStringList{"--log", "/no/such/folder/a.log", "version", "parse", "1"} << QByteArray("a.log");
#endif
    QTest::newRow("log without a file")
        << QStringList{"--log-source", "version", "parse", "1"} << QByteArray("--log");
}

void TestVxtool::wrongUsage()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, hint);

    const Result result = RunTool(arguments);
    QCOMPARE(result.exitCode, 2);
    QVERIFY2(result.error.contains(hint), result.error.constData());
    QCOMPARE(result.output, QByteArray());
}

void TestVxtool::help()
{
    const Result all = RunTool({"--help"});
    QCOMPARE(all.exitCode, 0);
    QVERIFY(all.output.contains("version compare"));
    const Result group = RunTool({"version", "--help"});
    QCOMPARE(group.exitCode, 0);
    QVERIFY(group.output.contains("version parse") && !group.output.contains("links"));
    const Result one = RunTool({"version", "parse", "--help"});
    QCOMPARE(one.exitCode, 0);
    QVERIFY2(one.output.startsWith("Usage: vxtool version parse [options] [TEXT...]\n"),
             one.output.constData());
    QVERIFY(one.output.contains("--json"));
}

void TestVxtool::logFile()
{
    if (!VXCOMMON_HAS_LOG4CPP) {
        const Result result = RunTool({"--log", "x", "version", "parse", "1"});
        QCOMPARE(result.exitCode, 2);
        QVERIFY2(result.error.contains("no log4cpp"), result.error.constData());
        return;
    }
    const QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("tool.log"));
    QCOMPARE(RunTool({"--log", path, "version", "parse", "1", "--log-source"}).exitCode, 0);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    QVERIFY2(text.contains("main: command version parse begins (vxtool::"), text.constData());
}

void TestVxtool::unreadableInput()
{
#ifdef Q_OS_LINUX
    QProcess process;
    process.setStandardInputFile(QStringLiteral("/"));
    process.start(QStringLiteral(VXTOOL_PROGRAM), {"version", "parse"});
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitCode(), 1);
    QVERIFY(process.readAllStandardError().contains("standard input cannot be read"));
#endif
}

void TestVxtool::handOver()
{
    QProcess first;
    first.start(QStringLiteral(VXTOOL_PROGRAM), {"single", "tst_vxtool hand-over", "--serve", "60"});
    QVERIFY(first.waitForReadyRead(60000));
    QCOMPARE(first.readLine().trimmed(), QByteArray("first\ttst_vxtool hand-over"));
    const Result second = RunTool({"single", "tst_vxtool hand-over", "hello", "--json"});
    QCOMPARE(second.exitCode, 0);
    QCOMPARE(second.output, QByteArray("{\"event\":\"second\",\"text\":\"tst_vxtool hand-over\"}\n"
                                       "{\"event\":\"sent\",\"text\":\"hello\"}\n"));
    QVERIFY(first.canReadLine() || first.waitForReadyRead(60000));
    QCOMPARE(first.readLine().trimmed(), QByteArray("received\thello"));
    first.kill();
    QVERIFY(first.waitForFinished());
}

QTEST_GUILESS_MAIN(TestVxtool)
#include "tst_vxtool.moc"

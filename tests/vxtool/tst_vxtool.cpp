#include "files/filetree.h"
#include "table.h"

#include <common/vxcommon_features.h>

#include <QProcess>
#include <QTemporaryDir>

namespace
{

/// How a run of vxtool ended; the exit code is -1 if it crashed or did not end.
struct Result
{
    int exitCode;
    QByteArray output;
    QByteArray error;
};

} // namespace

class TestVxtool : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { dir = std::make_unique<QTemporaryDir>(); }
    void answers_data();
    void answers();
    void help();
    void gzip();
    void json();
    void files();
#if VXCOMMON_HAS_LOG4CPP
    void logFile();
#endif

private:
    Result Run(const QString& arguments, const QByteArray& input = QByteArray()) const;

    std::unique_ptr<QTemporaryDir> dir; ///< vxtool runs in here.
};

/// The arguments stand between bars.
Result TestVxtool::Run(const QString& arguments, const QByteArray& input) const
{
    QProcess process;
    process.setWorkingDirectory(dir->path());
    process.start(VXTOOL_PROGRAM, arguments.isEmpty() ? QStringList() : arguments.split('|'));
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit) {
        return {-1, process.readAllStandardOutput(), process.errorString().toUtf8()};
    }
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

void TestVxtool::answers_data()
{
    // The arguments name the row; for wrong usage the output is a part of the complaint.
    const Table<QByteArray, QByteArray, int> row("input", "output", "exitCode");
    row("version|compare", "2 1\n1 1.0\n", "2.0.0.0\t>\t1.0.0.0\n1.0.0.0\t=\t1.0.0.0\n", 0);
    row("version|parse|--table|--columns|version,minor|1.2|10", "",
        "version   minor\n1.2.0.0   2\n10.0.0.0  0\n", 0);
    row("process|exists|no such process", "", "false\tno such process\n", 1);
    row("start|no such program|--json|-x", "", "", 1); // options of the program that is started
    row("component|register|--admin|--json|none", "", "{\"result\":\"0x80004002\",\"file\":\"none\"}\n", 1);
    row("--callto|tel:+49 1", "", "--callto tel:+49 1\n", 0);
    row("single|tst_vxtool|unheard", "", "first\ttst_vxtool\n", 0);
    row("encrypt|--key|0123456789abcdef0|hello", "", "4o9ssVeElvk8ggRy+7hc7g==\n", 0);
    row("decrypt|--key|0123456789abcdef0", "4o9ssVeElvk8ggRy+7hc7g==", "hello\n", 0); // without the padding
    row("gzip|no/such/file", "", "", 1);
    row("md5|--file", "a\n", "60b725f10c9c85c70d97880dfe8191b3\n", 0);
    row("hex", "ж\r\na", "d0b6\n61\n", 0);
    row("uuidform|--group|4|abcd", "", "{6162-6364}\n", 0);
    row("split|--utf8|4|абв", "", "2\t4\tаб\n1\t2\tв\n", 0);
    row("links|--json", "ж\nhttp://a.com.", "{\"start\":2,\"length\":12,\"text\":\"http://a.com\"}\n", 0);
#if VXCOMMON_HAS_QREGEXP
    row("sip|check", "a@b.quollsip.com\nb\n\n c",
        "NoError\ta@b.quollsip.com\nFormatError\tb\nLengthError\t\nSymbolError\t c\n", 1);
    row("sip|check|a\tb\nc", "", "SymbolError\ta\\tb\\nc\n", 1); // a row stays one line
    row("sip|parse|--json|\"A\" <sip:a@b.com:5060;x>", "",
        "{\"ok\":true,\"user\":\"a\",\"domain\":\"b.com\",\"name\":\"A\",\"extension\":\"\",\"port\":"
        "\"5060\"}\n",
        0);
    row("contact|--name|Ann|skype:ANN", "",
        "SkypeName\tann\tskype: ann\tann@skype.com\tann\tskype.com\t\tAnn\n", 0);
    row("password|good-enough|bad", "", "true\tgood-enough\nfalse\tbad\n", 1);
    row("web|--columns|locale|a@b.ru", "", "LocaleRu\n", 0);
#endif

    row("", "", "no command", 2);
    row("nonsense", "", "\"nonsense\"", 2);
    row("version|parse|--columns|major,frob|1", "", "\"frob\"", 2);
    row("copy|a", "", "are needed", 2);
    row("process|wait|--timeout|long|x", "", "--timeout", 2);
    row("--log|x|--log-level|loud|version|parse|1", "", "0 to 7", 2);
    row("--log|/no/such/folder/a.log|version|parse|1", "", VXCOMMON_HAS_LOG4CPP ? "a.log" : "no log4cpp", 2);
    row("encrypt|--key|0123456789abcdef0123456789abcdef0|x", "", "32 bytes", 2);
}

void TestVxtool::answers()
{
    QFETCH(QByteArray, input);
    QFETCH(QByteArray, output);
    QFETCH(int, exitCode);

    const Result result = Run(QTest::currentDataTag(), input);
    QCOMPARE(result.exitCode, exitCode);
    QCOMPARE(exitCode == 2 ? "" : output, result.output);
    QVERIFY2(exitCode != 2 || result.error.contains(output), result.error);
}

void TestVxtool::help()
{
    QVERIFY(Run("--help").output.contains("  version compare  "));
    QVERIFY(Run("hex|--help").output.startsWith("Usage: vxtool hex [options] [TEXT...]\n"));
}

void TestVxtool::gzip()
{
    const QByteArray input = QByteArray("\r\n\x1a", 3).repeated(50000);
    const QByteArray packed = Run("gzip|--level|9", input).output;
    QVERIFY(!packed.isEmpty() && packed.size() < 1000);
    QCOMPARE(Run("gunzip", packed.chopped(1)).exitCode, 1);

    // Input that comes late: an empty pipe is waited for, and is no failure.
    QProcess unpacker;
    unpacker.start(VXTOOL_PROGRAM, {"gunzip"});
    QVERIFY(unpacker.waitForStarted(60000) && !unpacker.waitForFinished(300));
    unpacker.write(packed);
    unpacker.closeWriteChannel();
    QVERIFY(unpacker.waitForFinished(60000));
    QCOMPARE(unpacker.readAllStandardOutput(), input);
}

void TestVxtool::json()
{
    QCOMPARE(Run("json|set|new/file|a|[1, true]|--key|k").exitCode, 0);
    QCOMPARE(Run("json|set|new/file|b|some text|--key|k").exitCode, 0);
    // With another key nothing is lost.
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
        QCOMPARE(filetree::Snapshot(dir->path()), after);
    };
    verify("copy|a|d/|t", 0, "3 items copied\n",
           {"a=1", "d/b=2", "d/e/c=3", "t/a=1", "t/d/b=2", "t/d/e/c=3"});
    verify("copy|a|d/|x", 2, "is no folder", before);
    verify("copy|x|y", 1, "error 700103: Copying failed with error '700103'!", before);
    verify("remove|d|a|x", 0, "6 items removed\n", {"t/"});
    verify("remove|/", 2, "all there is", before);
    verify("remove|", 2, "names nothing", before);
    QVERIFY(Run("copy|--timing|a|x").output.startsWith("1 item copied in "));
#ifdef Q_OS_UNIX
    filetree::Build(dir->path(), {"l->d/e"});
    QCOMPARE(Run("remove|l/../b").exitCode, 0);
    QVERIFY2(!QFile::exists(dir->filePath("d/b")), "the folder above what a link leads to is meant");
#endif
}

#if VXCOMMON_HAS_LOG4CPP
void TestVxtool::logFile()
{
    QCOMPARE(Run("--log|log|version|parse|1|--log-source").exitCode, 0);
    const QString log = filetree::Snapshot(dir->path()).join('|');
    QVERIFY2(log.contains("main: command version parse begins (vxtool::"), qPrintable(log));
#ifdef Q_OS_UNIX // URLs in it may hold passwords.
    QVERIFY(!QFile::permissions(dir->filePath("log")).testAnyFlags(QFile::ReadGroup | QFile::ReadOther));
#endif
}
#endif

QTEST_GUILESS_MAIN(TestVxtool)
#include "tst_vxtool.moc"

#include "vxtool/runtool.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

class TestVxtoolText : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;

private Q_SLOTS:
    void answers_data();
    void answers();
    void wrongUsage_data();
    void wrongUsage();
    void machineKey();
    void rawCipher();
    void json();
    void gzip();
    void chat();
};

void TestVxtoolText::answers_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QByteArray>("output");

    QTest::newRow("encrypt") << "encrypt|--key|0123456789abcdef0|hello" << QByteArray()
                             << QByteArray("4o9ssVeElvk8ggRy+7hc7g==\n");
    QTest::newRow("decrypt without the padding")
        << "decrypt|--key|0123456789abcdef0" << QByteArray("4o9ssVeElvk8ggRy+7hc7g==")
        << QByteArray("hello\n");
    QTest::newRow("md5") << "md5|abc" << QByteArray() << QByteArray("900150983cd24fb0d6963f7d28e17f72\n");
    QTest::newRow("md5 of all input")
        << "md5|--file" << QByteArray("a\n") << QByteArray("60b725f10c9c85c70d97880dfe8191b3\n");
    QTest::newRow("hex by line") << "hex" << QByteArray("ж\na") << QByteArray("d0b6\n61\n");
    QTest::newRow("uuidform") << "uuidform|--group|4|abcd" << QByteArray() << QByteArray("{6162-6364}\n");
    QTest::newRow("split for UTF-8") << "split|--utf8|4|абв" << QByteArray()
                                     << QByteArray("2\t4\tаб\n1\t2\tв\n");
    QTest::newRow("split for UCS-2") << "split|--ucs2|4|abcd" << QByteArray() << QByteArray("4\t4\tabcd\n");
    QTest::newRow("links, over all lines")
        << "links|--json" << QByteArray("ж\nhttp://a.com.")
        << QByteArray("{\"start\":2,\"length\":12,\"text\":\"http://a.com\"}\n");
}

void TestVxtoolText::answers()
{
    QFETCH(QString, arguments);
    QFETCH(QByteArray, input);
    QFETCH(QByteArray, output);

    const Result result = RunTool(arguments.split('|'), input);
    QCOMPARE(result.output, output);
    QCOMPARE(result.exitCode, 0);
}

void TestVxtoolText::wrongUsage_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<int>("exitCode");

    QTest::newRow("key too long") << "encrypt|--key|0123456789abcdef0123456789abcdef0|x" << 2;
    QTest::newRow("no group size") << "uuidform|x" << 2;
    QTest::newRow("two ways to split") << "split|--utf8|4|--ucs2|4|x" << 2;
    QTest::newRow("pieces without room") << "split|--utf8|2|x" << 2;
    QTest::newRow("two files") << "links|a|b" << 2;
    QTest::newRow("no such file") << "gzip|no/such/file" << 1;
    QTest::newRow("no gzip") << "gunzip" << 1;
    QTest::newRow("no JSON file") << "json|show|no/such/file" << 1;
}

void TestVxtoolText::wrongUsage()
{
    QFETCH(QString, arguments);
    QFETCH(int, exitCode);

    const Result result = RunTool(arguments.split('|'), "x");
    QCOMPARE(result.exitCode, exitCode);
    QVERIFY(!result.error.isEmpty());
    QCOMPARE(result.output, QByteArray());
}

void TestVxtoolText::machineKey()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("USERNAME");
    environment.insert("USER", "ann");
    // The key of this user, then openssl enc -aes-256-cbc -nopad, both apart from this library.
    const QByteArray cipher = "RcqW5MkZvcComRx9nAPhfw==\n";
    QCOMPARE(RunTool({"encrypt", "hello"}, {}, environment).output, cipher);
    QCOMPARE(RunTool({"decrypt"}, cipher, environment).output, QByteArray("hello\n"));
    environment.insert("USER", "bob");
    QVERIFY(RunTool({"decrypt"}, cipher, environment).output != "hello\n");
}

void TestVxtoolText::rawCipher()
{
    const QByteArray input = QByteArray::fromHex("00ff0d0a1a") + QByteArray(1000, '\n');
    const Result packed = RunTool({"encrypt", "--raw", "--key", "k"}, input);
    QCOMPARE(packed.output.size(), 1008);
    const Result plain = RunTool({"decrypt", "--raw", "--key", "k"}, packed.output);
    QCOMPARE(plain.output, input + QByteArray(3, '\0'));
}

void TestVxtoolText::json()
{
    const QString path = dir.filePath("new/file.json");
    QCOMPARE(RunTool({"json", "set", path, "a", "[1, true]", "--key", "k"}).exitCode, 0);
    QCOMPARE(RunTool({"json", "set", path, "b", "some text", "--key", "k"}).exitCode, 0);
    const Result shown = RunTool({"json", "show", path, "--key", "k"});
    QCOMPARE(shown.output,
             QByteArray("{\n    \"a\": [\n        1,\n        true\n    ],\n    \"b\": \"some text\"\n}\n"));
    // With another key nothing is lost.
    QCOMPARE(RunTool({"json", "set", path, "b", "x", "--key", "l"}).exitCode, 1);
    QCOMPARE(RunTool({"json", "show", path, "--key", "k"}).output, shown.output);
}

void TestVxtoolText::gzip()
{
    const QByteArray input = QByteArray("\r\n\x1a", 3).repeated(50000);
    const Result packed = RunTool({"gzip", "--level", "9"}, input);
    QVERIFY(!packed.output.isEmpty() && packed.output.size() < 1000);
    QCOMPARE(RunTool({"gunzip"}, packed.output).output, input);
    const Result cut = RunTool({"gunzip"}, packed.output.chopped(1));
    QCOMPARE(cut.exitCode, 1);
    QCOMPARE(cut.output, input);

    // Input that comes late: an empty pipe is waited for, and is no failure.
    QProcess unpacker;
    unpacker.start(QStringLiteral(VXTOOL_PROGRAM), {"gunzip"});
    QVERIFY(unpacker.waitForStarted(60000));
    QVERIFY(!unpacker.waitForFinished(300));
    unpacker.write(packed.output);
    unpacker.closeWriteChannel();
    QVERIFY(unpacker.waitForFinished(60000));
    QCOMPARE(unpacker.readAllStandardOutput(), input);
}

void TestVxtoolText::chat()
{
    QFile file(QStringLiteral(EXAMPLE_DATA "/chat.txt"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const Result all = RunTool({"links", file.fileName()});
    QCOMPARE(all.exitCode, 0);
    QVERIFY(all.output.count('\n') > 100);
    // Offsets count UTF-16 units, in a text of twelve scripts.
    const QString text = QString::fromUtf8(file.readAll());
    const QStringList rows = QString::fromUtf8(all.output).split('\n', Qt::SkipEmptyParts);
    for (const QString& row : rows) {
        const QStringList cells = row.split('\t');
        QCOMPARE(text.mid(cells.at(0).toInt(), cells.at(1).toInt()), cells.at(2));
    }
}

QTEST_GUILESS_MAIN(TestVxtoolText)
#include "tst_vxtool_text.moc"

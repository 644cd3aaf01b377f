#include "logger/recordinglogger.h"

#include <common/tools/aes.h>
#include <common/tools/jsonfile.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using tools::JsonFile;

namespace
{

const QJsonObject sample{{"name", "Жанна"}, {"list", QJsonArray{1, 2.5, QJsonValue::Null}}, {"flag", true}};

QByteArray ReadFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("%s cannot be read", qPrintable(path));
    }
    return file.readAll();
}

void WriteFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        qFatal("%s cannot be written", qPrintable(path));
    }
}

template<typename Value>
QString Printed(const Value& value)
{
    QString text;
    QTextStream stream(&text);
    stream << value;
    stream.flush();
    return text;
}

} // namespace

class TestJsonFile : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;

private Q_SLOTS:
    void roundTrip_data();
    void roundTrip();
    void wrongKey();
    void noJson_data();
    void noJson();
    void failures_data();
    void failures();
    void directoryCannotBeMade();
    void replacesTheFile();
    void values();
    void printing_data();
    void printing();
};

void TestJsonFile::roundTrip_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QJsonDocument>("document");

    // Texts of 16 sizes, so that the padding has each length.
    for (int size = 0; size < 16; ++size) {
        const QJsonObject object{{"text", QString(size, 'x')}};
        QTest::addRow("object, %d", size) << "secret" << QJsonDocument(object);
    }
    QTest::newRow("array") << "secret" << QJsonDocument(QJsonArray{1, "Ж"});
    QTest::newRow("null document") << "secret" << QJsonDocument();
    QTest::newRow("plain text") << "" << QJsonDocument(sample);
    QTest::newRow("plain null document") << "" << QJsonDocument();
}

void TestJsonFile::roundTrip()
{
    QFETCH(QString, key);
    QFETCH(QJsonDocument, document);

    const QString path = dir.filePath("new/folder/файл.json");
    QVERIFY(JsonFile(path, document, key).Save());
    const QByteArray bytes = ReadFile(path);
    const QByteArray plain = document.toJson(QJsonDocument::Indented);
    if (key.isEmpty()) {
        QCOMPARE(bytes, plain);
    } else {
        QByteArray expected;
        QCOMPARE(bytes, tools::cipher::AES::encrypt(key, plain, expected));
    }
    JsonFile file(path, key);
    QVERIFY(file.Load());
    QCOMPARE(file.Document(), document);
    QVERIFY(QDir(dir.filePath("new")).removeRecursively());
}

void TestJsonFile::wrongKey()
{
    const QString path = dir.filePath("wrong.json");
    QVERIFY(JsonFile(path, sample, "right").Save());
    for (const QString key : {"wrong", ""}) {
        JsonFile file(path, sample, key);
        QVERIFY(file.Load());
        QVERIFY(file.Document().isNull());
        QVERIFY(file.Object().isEmpty());
    }
}

void TestJsonFile::noJson_data()
{
    QTest::addColumn<QByteArray>("bytes");

    QTest::newRow("empty") << QByteArray();
    QTest::newRow("text") << QByteArray("hello");
    QTest::newRow("half an object") << QByteArray("{\"a\":");
    QTest::newRow("zero bytes") << QByteArray(33, '\0');
    QTest::newRow("nested too deep") << QByteArray(1000000, '[');
}

void TestJsonFile::noJson()
{
    QFETCH(QByteArray, bytes);

    const QString path = dir.filePath("nojson.json");
    WriteFile(path, bytes);
    for (const QString key : {"", "key"}) {
        RecordingLogger logger;
        JsonFile file(path, sample, key);
        QVERIFY(file.Load());
        QVERIFY(file.Document().isNull());
        QVERIFY(logger.lines.empty());
    }
}

void TestJsonFile::failures_data()
{
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<bool>("save");
    QTest::addColumn<QString>("text");

    const QString folder = dir.path();
    const QString missing = dir.filePath("missing.json");
    QTest::newRow("load, no name") << "" << false << "FileName is empty!";
    QTest::newRow("save, no name") << "" << true << "FileName is empty!";
    QTest::newRow("load, no file") << missing << false
                                   << QString("Failed to open file '%1' for read!").arg(missing);
    QTest::newRow("save to a folder")
        << folder << true << QString("Failed to open file '%1' for write!").arg(folder);
}

void TestJsonFile::failures()
{
    QFETCH(QString, fileName);
    QFETCH(bool, save);
    QFETCH(QString, text);

    RecordingLogger logger;
    JsonFile file(fileName, sample, QString());
    QVERIFY(!(save ? file.Save() : file.Load()));
    QCOMPARE(file.Object(), sample);
    QCOMPARE(logger.lines.size(), std::size_t{1});
    QCOMPARE(logger.lines.front().text, text);
    QCOMPARE(logger.lines.front().level, 3);
    QCOMPARE(logger.lines.front().channel, QByteArray("jsonfile"));
    QCOMPARE(logger.lines.front().function,
             QByteArray(save ? "tools::JsonFile::Save" : "tools::JsonFile::Load"));
}

void TestJsonFile::directoryCannotBeMade()
{
    const QString obstacle = dir.filePath("obstacle");
    WriteFile(obstacle, "x");
    const QString path = obstacle + "/sub/file.json";
    RecordingLogger logger;
    QVERIFY(!JsonFile(path, sample, QString()).Save());
    QCOMPARE(logger.lines.size(), std::size_t{2});
    QCOMPARE(logger.lines[0].text, QString("Failed to create directory '%1'!").arg(obstacle + "/sub"));
    QCOMPARE(logger.lines[1].text, QString("Failed to open file '%1' for write!").arg(path));
}

void TestJsonFile::replacesTheFile()
{
    const QString path = dir.filePath("replaced/file.json");
    QVERIFY(JsonFile(path, sample, QString()).Save());
    QVERIFY(QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner));
    const auto permissions = QFile::permissions(path);
    const QJsonObject other{{"a", 1}};
    QVERIFY(JsonFile(path, other, QString()).Save());
    QCOMPARE(ReadFile(path), QJsonDocument(other).toJson());
    QCOMPARE(QFile::permissions(path), permissions);
    QCOMPARE(QDir(dir.filePath("replaced")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
             QStringList{"file.json"});
}

void TestJsonFile::values()
{
    const JsonFile first("a", sample, "k");
    JsonFile second("b", "l");
    QVERIFY(second.Document().isNull());
    second = first;
    const JsonFile third = std::move(second);
    QCOMPARE(third.Object(), sample);
    QCOMPARE(first.Document(), QJsonDocument(sample));
}

void TestJsonFile::printing_data()
{
    QTest::addColumn<QString>("printed");
    QTest::addColumn<QString>("expected");

    const QJsonObject object{{"a", "Ж"}};
    const QJsonArray array{1};
    const QString objectText = "{\n    \"a\": \"Ж\"\n}\n";
    const QString arrayText = "[\n    1\n]\n";
    QTest::newRow("document") << Printed(QJsonDocument(array)) << arrayText;
    QTest::newRow("object") << Printed(object) << objectText;
    QTest::newRow("array") << Printed(array) << arrayText;
    QTest::newRow("object value") << Printed(QJsonValue(object)) << objectText;
    QTest::newRow("array value") << Printed(QJsonValue(array)) << arrayText;
    QTest::newRow("true") << Printed(QJsonValue(true)) << "1";
    QTest::newRow("false") << Printed(QJsonValue(false)) << "0";
    QTest::newRow("double") << Printed(QJsonValue(2.5)) << "2.5";
    QTest::newRow("stream's own format of a double") << Printed(QJsonValue(1e7)) << "1e+07";
    QTest::newRow("string") << Printed(QJsonValue("Ж")) << "Ж";
    QTest::newRow("null") << Printed(QJsonValue(QJsonValue::Null)) << "(null)";
    QTest::newRow("undefined") << Printed(QJsonValue(QJsonValue::Undefined)) << "(undefined)";
}

void TestJsonFile::printing()
{
    QFETCH(QString, printed);
    QFETCH(QString, expected);

    QCOMPARE(printed, expected);
}

QTEST_GUILESS_MAIN(TestJsonFile)
#include "tst_jsonfile.moc"

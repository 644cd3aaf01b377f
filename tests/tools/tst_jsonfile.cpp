#include "files/filetree.h"
#include "logger/recordinglogger.h"

#include <common/tools/aes.h>
#include <common/tools/jsonfile.h>

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#ifdef Q_OS_UNIX
#include <csignal>
#include <sys/resource.h>
#include <unistd.h>
#endif

using tools::JsonFile;
using tools::cipher::AES;

namespace
{

const QJsonObject sample{{"name", "Жанна"}, {"list", QJsonArray{1, 2.5, QJsonValue::Null}}, {"flag", true}};

QByteArray ReadFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : "no such file";
}

/// Runs Load or Save; gives what was logged about a failure, and nothing after a success.
QString Failure(JsonFile&& file, bool (JsonFile::*step)())
{
    RecordingLogger logger;
    const bool isDone = (file.*step)();
    QStringList texts;
    for (const auto& line : logger.lines) {
        texts += line.level == 3 && line.channel == "jsonfile" ? line.text : "wrong line: " + line.text;
    }
    return isDone == texts.isEmpty() ? texts.join('\n') : "the result and the log differ";
}

} // namespace

class TestJsonFile : public QObject
{
    Q_OBJECT

    QString File(const char* name) const { return dir->filePath(QString(name)); }
    bool IsUntouched() const
    {
        const QString text = QJsonDocument(sample).toJson();
        return filetree::Snapshot(File("new/folder")) == QStringList{"файл.json=" + text};
    }

    std::unique_ptr<QTemporaryDir> dir;
    QString old; ///< A file that holds `sample`, alone in its folder.

private Q_SLOTS:
    void init();
    void roundTrip();
    void failures();
    void printing();
#ifdef Q_OS_UNIX
    void linksAndDevices();
    void fullDisk();
    void closedFolder();
#endif
};

void TestJsonFile::init()
{
    dir = std::make_unique<QTemporaryDir>();
    old = File("new/folder/файл.json");
    QCOMPARE(Failure({old, sample, QString()}, &JsonFile::Save), "");
}

void TestJsonFile::roundTrip()
{
    QList<QJsonDocument> documents{QJsonDocument(), QJsonDocument(QJsonArray{1, "Ж"}), QJsonDocument(sample)};
    for (int size = 0; size < 16; ++size) { // so that the padding has each length
        documents += QJsonDocument(QJsonObject{{"text", QString(size, 'x')}});
    }
    QVERIFY(QFile::setPermissions(old, QFile::ReadOwner | QFile::WriteOwner));
    const auto permissions = QFile::permissions(old);
    for (const QString& key : {QString(), QString("secret"), QString(32, 'k')}) {
        for (const QJsonDocument& document : documents) {
            QCOMPARE(Failure({old, document, key}, &JsonFile::Save), "");
            QByteArray expected = document.toJson(QJsonDocument::Indented);
            QCOMPARE(ReadFile(old), key.isEmpty() ? expected : AES::encrypt(key, expected, expected));
            JsonFile loaded(old, key);
            QVERIFY(loaded.Load() && loaded.Object() == document.object());
            QCOMPARE(loaded.Document(), document);
        }
    }
    QVERIFY(QFile::permissions(old) == permissions);

    for (const QByteArray& bytes : {QByteArray("{\"a\":"), QByteArray(33, '\0'), QByteArray(1000000, '[')}) {
        filetree::Write(filetree::ToPath(old), bytes);
        for (const QString key : {"", "key"}) {
            JsonFile file(old, sample, key);
            QVERIFY(file.Load() && file.Document().isNull());
        }
    }
}

void TestJsonFile::failures()
{
    QCOMPARE(Failure({"", ""}, &JsonFile::Load), "FileName is empty!");
    QCOMPARE(Failure({"", ""}, &JsonFile::Save), "FileName is empty!");
    const QString missing = File("missing.json");
    JsonFile file(missing, sample, "");
    QVERIFY(!file.Load() && file.Object() == sample);
    QCOMPARE(Failure({missing, ""}, &JsonFile::Load), "Failed to open file '" + missing + "' for read!");

    const QString folder = dir->path();
    QCOMPARE(Failure({folder, ""}, &JsonFile::Save), "Failed to open file '" + folder + "' for write!");
    QCOMPARE(Failure({old + "/b/c", ""}, &JsonFile::Save),
             QString("Failed to create directory '%1/b'!\nFailed to open file '%1/b/c' for write!").arg(old));
    const QString keyOf33Bytes = QString(15, 'k') + "жжжжжжжжж";
    QCOMPARE(Failure({old, keyOf33Bytes}, &JsonFile::Save), "Failed to save document in file '" + old + "'!");
    QVERIFY(IsUntouched());
}

void TestJsonFile::printing()
{
    QString text;
    QTextStream stream(&text);
    const QJsonObject object{{"a", "Ж"}};
    stream << QJsonDocument(object) << object << QJsonValue(object) << QJsonArray{1}
           << QJsonValue(QJsonArray{1});
    QCOMPARE(text, QString("{\n    \"a\": \"Ж\"\n}\n").repeated(3) + QString("[\n    1\n]\n").repeated(2));
    text.clear();
    stream << QJsonValue(true) << QJsonValue(false) << ' ' << QJsonValue(2.5) << ' ' << QJsonValue(1e7)
           << QJsonValue("Ж") << QJsonValue() << QJsonValue(QJsonValue::Undefined);
    QCOMPARE(text, "10 2.5 1e+07Ж(null)(undefined)");
}

#ifdef Q_OS_UNIX

void TestJsonFile::linksAndDevices()
{
    const QString link = File("link.json");
    const QString target = File("target.json");
    QVERIFY(QFile::link("target.json", link));
    for (const int value : {1, 2}) { // the target is missing at first
        const QJsonDocument document(QJsonArray{value});
        QCOMPARE(Failure({link, document, ""}, &JsonFile::Save), "");
        QVERIFY(QFileInfo(link).isSymLink() && !QFileInfo(target).isSymLink());
        QCOMPARE(ReadFile(target), document.toJson());
    }
    const QString otherName = File("other.json");
    create_hard_link(filetree::ToPath(target), filetree::ToPath(otherName));
    QCOMPARE(Failure({target, sample, ""}, &JsonFile::Save), "");
    QCOMPARE(ReadFile(otherName), ReadFile(target));

    const QString circle = File("circle.json");
    QVERIFY(QFile::link("circle.json", circle));
    QCOMPARE(Failure({circle, ""}, &JsonFile::Save), "Failed to open file '" + circle + "' for write!");
    QVERIFY(QFileInfo(circle).isSymLink());

    QVERIFY(Failure({"/dev/full", sample, ""}, &JsonFile::Save).startsWith("Failed to save document"));
    QVERIFY(!QFileInfo("/dev/full").isFile());
    // Can be opened, but not be read.
    QVERIFY(Failure({"/proc/self/mem", ""}, &JsonFile::Load).startsWith("Failed to open file"));
}

void TestJsonFile::fullDisk()
{
    // A limit on the size of files fails a write half-way, as a full disk does.
    rlimit limit{};
    QCOMPARE(getrlimit(RLIMIT_FSIZE, &limit), 0);
    const rlimit tight{100000, limit.rlim_max};
    QVERIFY(std::signal(SIGXFSZ, SIG_IGN) != SIG_ERR);
    QCOMPARE(setrlimit(RLIMIT_FSIZE, &tight), 0);
    const QString failure = Failure({old, QJsonObject{{"a", QString(200000, 'x')}}, ""}, &JsonFile::Save);
    setrlimit(RLIMIT_FSIZE, &limit);

    QCOMPARE(failure, "Failed to save document in file '" + old + "'!");
    QVERIFY(IsUntouched());
}

void TestJsonFile::closedFolder()
{
    using std::filesystem::perms;
    const auto folder = filetree::ToPath(File("new/folder"));
    permissions(filetree::ToPath(old), perms(0666));
    permissions(folder, perms(0555));
    permissions(filetree::ToPath(dir->path()), perms(0755));
    // The superuser is not refused anything.
    constexpr uid_t nobody = 65534;
    const bool isRoot = geteuid() == 0;
    const auto path = QFile::encodeName(old);
    QVERIFY(!isRoot ||
            (chown(path.constData(), nobody, nobody) == 0 && setegid(nobody) == 0 && seteuid(nobody) == 0));
    const QString failure = Failure({old, QJsonDocument(QJsonArray{1}), ""}, &JsonFile::Save);
    QVERIFY(!isRoot || (seteuid(0) == 0 && setegid(0) == 0));
    permissions(folder, perms(0755));
    QCOMPARE(failure, "");
    QCOMPARE(ReadFile(old), QJsonDocument(QJsonArray{1}).toJson());

    // The superuser does not take a user's file away.
    QCOMPARE(Failure({old, QJsonDocument(QJsonArray{2}), ""}, &JsonFile::Save), "");
    QCOMPARE(ReadFile(old), QJsonDocument(QJsonArray{2}).toJson());
    QCOMPARE(QFileInfo(old).ownerId(), isRoot ? nobody : geteuid());
}

#endif

QTEST_GUILESS_MAIN(TestJsonFile)
#include "tst_jsonfile.moc"

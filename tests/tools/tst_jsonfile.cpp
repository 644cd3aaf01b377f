#include "files/filetree.h"
#include "logger/recordinglogger.h"

#include <common/tools/aes.h>
#include <common/tools/jsonfile.h>

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <tuple>

#ifdef Q_OS_UNIX
#include "resourcelimit.h"

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#endif

using tools::JsonFile;
using tools::cipher::AES;

namespace
{

const QJsonObject sample{{"name", "Жанна"}, {"list", QJsonArray{1, 2.5, QJsonValue::Null}}, {"flag", true}};

/// Runs Load or Save. Returns the log of a failure, or an empty string after a success.
QString Failure(JsonFile&& file, bool (JsonFile::*step)())
{
    RecordingLogger logger;
    const bool isDone = (file.*step)();
    const QString texts =
        logger.Lines("jsonfile", 7).replaceInStrings(QRegularExpression("^3 "), "").join('\n');
    return isDone == logger.lines.empty() ? texts : "the result and the log differ";
}

} // namespace

class TestJsonFile : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> dir;
    QString old; ///< A file with `sample`, alone in its directory.

private Q_SLOTS:
    void init();
    void roundTrip();
    void failures();
    void printing();
#ifdef Q_OS_UNIX
    void writtenInPlace();
    void access();
    void specialFiles();
#endif
};

void TestJsonFile::init()
{
    dir = std::make_unique<QTemporaryDir>();
    old = dir->filePath("new/folder/файл.json");
    QCOMPARE(Failure({old, sample, QString()}, &JsonFile::Save), "");
}

void TestJsonFile::roundTrip()
{
    const QList<QJsonDocument> documents{QJsonDocument(), QJsonDocument(QJsonArray{1, "Ж"}),
                                         QJsonDocument(sample)};
    QVERIFY(QFile::setPermissions(old, QFile::ReadOwner | QFile::WriteOwner));
    const auto permissions = QFile::permissions(old);
    for (const QString& key : {QString(), QString(32, 's')}) {
        for (const QJsonDocument& document : documents) {
            QCOMPARE(Failure({old, document, key}, &JsonFile::Save), "");
            QByteArray expected = document.toJson(QJsonDocument::Indented);
            QCOMPARE(filetree::Read(old), key.isEmpty() ? expected : AES::encrypt(key, expected, expected));
            JsonFile loaded(old, key);
            QVERIFY(loaded.Load());
            QCOMPARE(loaded.Object(), document.object());
            QCOMPARE(loaded.Document(), document);
        }
    }
    QVERIFY(QFile::permissions(old) == permissions);
    const QString otherName = dir->filePath("other.json");
    create_hard_link(filetree::ToPath(old), filetree::ToPath(otherName));
    QCOMPARE(Failure({old, sample, ""}, &JsonFile::Save), "");
    QCOMPARE(filetree::Read(otherName), QJsonDocument(sample).toJson());
#ifdef Q_OS_UNIX
    const QString secret = dir->filePath("secret.json");
    QCOMPARE(Failure({secret, sample, "key"}, &JsonFile::Save), "");
    QVERIFY(QFile::permissions(secret) == permissions); // Other users cannot read a new file.
#endif

    for (const QByteArray& bytes : {QByteArray("{\"a\":"), QByteArray(1000000, '[')}) {
        filetree::Write(old, bytes);
        for (const QString key : {"", "key"}) {
            JsonFile file(old, sample, key);
            QVERIFY(file.Load());
            QVERIFY(file.Document().isNull());
        }
    }
}

void TestJsonFile::failures()
{
    const QStringList untouched = filetree::Snapshot(dir->path());
    QCOMPARE(Failure({"", ""}, &JsonFile::Load), "FileName is empty!");
    QCOMPARE(Failure({"", ""}, &JsonFile::Save), "FileName is empty!");
    const QString missing = dir->filePath("missing.json");
    JsonFile file(missing, sample, "");
    QVERIFY(!file.Load());
    QCOMPARE(file.Object(), sample);
    QCOMPARE(Failure({missing, ""}, &JsonFile::Load), "Failed to open file '" + missing + "' for read!");
    QCOMPARE(Failure({old + "/b/c", ""}, &JsonFile::Save),
             QString("Failed to create directory '%1/b'!\nFailed to open file '%1/b/c' for write!").arg(old));
    const QString keyOf33Bytes = QString(15, 'k') + "жжжжжжжжж";
    const QString notSaved = "Failed to save document in file '" + old + "'!";
    QCOMPARE(Failure({old, keyOf33Bytes}, &JsonFile::Save), notSaved);
#ifdef Q_OS_UNIX
    const ResourceLimit bytes(RLIMIT_FSIZE, 100000);
    QCOMPARE(Failure({old, QJsonObject{{"a", QString(200000, 'x')}}, ""}, &JsonFile::Save), notSaved);
#endif
    QCOMPARE(filetree::Snapshot(dir->path()), untouched);
}

void TestJsonFile::printing()
{
    QString text;
    QTextStream stream(&text);
    stream << QJsonObject{{"a", "Ж"}} << QJsonValue(QJsonArray{1}) << QJsonValue(true) << QJsonValue(2.5)
           << QJsonValue("Ж") << QJsonValue() << QJsonValue(QJsonValue::Undefined);
    QCOMPARE(text, "{\n    \"a\": \"Ж\"\n}\n[\n    1\n]\n12.5Ж(null)(undefined)");
}

#ifdef Q_OS_UNIX

void TestJsonFile::writtenInPlace()
{
    const QString link = dir->filePath("link.json");
    const QString target = dir->filePath("target.json");
    QVERIFY(QFile::link("target.json", link));
    for (const int value : {1, 2}) { // the target is missing at first
        const QJsonDocument document(QJsonArray{value});
        QCOMPARE(Failure({link, document, ""}, &JsonFile::Save), "");
        QCOMPARE(QFile::symLinkTarget(link), target);
        QCOMPARE(filetree::Read(target), document.toJson());
    }

    // The name has the maximum length, so the name of a temporary file cannot be longer.
    const QString longName = dir->filePath(QString(255, 'x'));
    filetree::Write(longName, "old");
    QCOMPARE(Failure({longName, sample, ""}, &JsonFile::Save), "");
    QCOMPARE(filetree::Read(longName), QJsonDocument(sample).toJson());
}

/// Saving a file changes neither its owner nor who can read and write it.
void TestJsonFile::access()
{
    constexpr auto fileList = "system.posix_acl_access";
    constexpr auto defaultList = "system.posix_acl_default";
    // In the kernel's format: owner rw, user 65534 r, group r, mask rw, others none.
    const QByteArray list = QByteArray::fromHex("02000000 01000600ffffffff 02000400feff0000 04000400ffffffff"
                                                "10000600ffffffff 20000000ffffffff");
    const auto listSize = static_cast<std::size_t>(list.size());
    const QByteArray path = QFile::encodeName(old);
    const QByteArray folder = QFile::encodeName(QFileInfo(old).path());
    int saves = 0;
    const auto verifyKept = [&] {
        const auto access = [&] {
            struct stat status = {};
            QByteArray bytes(100, '\0');
            stat(path.constData(), &status);
            const auto size = getxattr(path.constData(), fileList, bytes.data(), 100);
            return std::tuple(status.st_uid, status.st_gid, status.st_mode, size, bytes);
        };
        const auto before = access();
        const QJsonDocument document(QJsonArray{++saves});
        QCOMPARE(Failure({old, document, ""}, &JsonFile::Save), "");
        QCOMPARE(filetree::Read(old), document.toJson());
        QCOMPARE(access(), before);
    };

    constexpr uid_t nobody = 65534;
    const bool isSuperuser = geteuid() == 0; // Only the superuser can set up the first two cases.
    QCOMPARE(chmod(path.constData(), 0640), 0);
    QVERIFY(!isSuperuser || chown(folder.constData(), nobody, nobody) == 0);
    QCOMPARE(chmod(folder.constData(), 02755), 0);
    verifyKept(); // A new file would get the group of the directory.
    QVERIFY(!isSuperuser || chown(path.constData(), nobody, nobody) == 0);
    verifyKept();
    QVERIFY(!isSuperuser || chown(path.constData(), 0, nobody) == 0);
    QCOMPARE(setxattr(folder.constData(), defaultList, list.constData(), listSize, 0), 0);
    verifyKept(); // A new file would get the default access list of the directory.
    QCOMPARE(removexattr(folder.constData(), defaultList), 0);
    QCOMPARE(setxattr(path.constData(), fileList, list.constData(), listSize, 0), 0);
    verifyKept();
}

void TestJsonFile::specialFiles()
{
    QVERIFY(Failure({"/dev/full", sample, ""}, &JsonFile::Save).startsWith("Failed to save document"));
    QVERIFY(!QFileInfo("/dev/full").isFile());
    // This file can be opened but not read.
    QVERIFY(Failure({"/proc/self/mem", ""}, &JsonFile::Load).startsWith("Failed to open file"));
    filetree::Build(dir->path(), {"fifo|"});
    QVERIFY(Failure({dir->filePath("fifo"), ""}, &JsonFile::Load).startsWith("Failed to open file"));
    // A file system that reports a size of 0 does not count as full.
    QCOMPARE(Failure({"/proc/self/comm", QJsonDocument(QJsonArray{1}), ""}, &JsonFile::Save), "");
    QVERIFY(filetree::Read("/proc/self/comm").startsWith('['));
}

#endif

QTEST_GUILESS_MAIN(TestJsonFile)
#include "tst_jsonfile.moc"

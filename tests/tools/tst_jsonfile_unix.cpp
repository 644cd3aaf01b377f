// What a file system may refuse, arranged with the means of Unix.

#include "logger/recordinglogger.h"

#include <common/tools/jsonfile.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using tools::JsonFile;

namespace
{

constexpr uid_t nobody = 65534;

QByteArray ReadFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("%s cannot be read", qPrintable(path));
    }
    return file.readAll();
}

ino_t Inode(const QString& path)
{
    struct stat status = {};
    return stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_ino : 0;
}

} // namespace

class TestJsonFileUnix : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;
    const QJsonObject small{{"a", 1}};

private Q_SLOTS:
    void linkStays();
    void deviceStays();
    void fullDisk();
    void closedFolder();
};

void TestJsonFileUnix::linkStays()
{
    const QString path = dir.filePath("target.json");
    const QString link = dir.filePath("link.json");
    QVERIFY(JsonFile(path, QJsonDocument(), QString()).Save());
    QVERIFY(QFile::link(path, link));
    QVERIFY(JsonFile(link, small, QString()).Save());
    QVERIFY(QFileInfo(link).isSymLink());
    QCOMPARE(ReadFile(path), QJsonDocument(small).toJson());
}

void TestJsonFileUnix::deviceStays()
{
    const QString device = "/dev/full";
    RecordingLogger logger;
    QVERIFY(!JsonFile(device, small, QString()).Save());
    QCOMPARE(logger.lines.size(), std::size_t{1});
    QCOMPARE(logger.lines.front().text, QString("Failed to save document in file '%1'!").arg(device));
    QVERIFY(!QFileInfo(device).isFile());
}

void TestJsonFileUnix::fullDisk()
{
    const QString path = dir.filePath("full/file.json");
    QVERIFY(JsonFile(path, small, QString()).Save());
    const QByteArray before = ReadFile(path);

    // A limit on the size of files fails a write half-way, as a full disk does.
    rlimit limit{};
    QCOMPARE(getrlimit(RLIMIT_FSIZE, &limit), 0);
    const rlimit tight{100000, limit.rlim_max};
    QVERIFY(std::signal(SIGXFSZ, SIG_IGN) != SIG_ERR);
    QCOMPARE(setrlimit(RLIMIT_FSIZE, &tight), 0);
    RecordingLogger logger;
    const bool isSaved = JsonFile(path, QJsonObject{{"a", QString(200000, 'x')}}, QString()).Save();
    setrlimit(RLIMIT_FSIZE, &limit);

    QVERIFY(!isSaved);
    QCOMPARE(logger.lines.size(), std::size_t{1});
    QCOMPARE(logger.lines.front().text, QString("Failed to save document in file '%1'!").arg(path));
    QCOMPARE(ReadFile(path), before);
    QCOMPARE(QDir(dir.filePath("full")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
             QStringList{"file.json"});
}

void TestJsonFileUnix::closedFolder()
{
    const QString path = dir.filePath("closed/file.json");
    QVERIFY(JsonFile(path, QJsonDocument(), QString()).Save());
    const ino_t inode = Inode(path);
    const auto chmodPath = [](const QString& name, mode_t mode) {
        return chmod(QFile::encodeName(name).constData(), mode) == 0;
    };
    QVERIFY(chmodPath(path, 0666) && chmodPath(dir.filePath("closed"), 0555) && chmodPath(dir.path(), 0755));
    // The superuser is not refused anything.
    const bool isRoot = geteuid() == 0;
    QVERIFY(!isRoot || seteuid(nobody) == 0);
    const bool isSaved = JsonFile(path, small, QString()).Save();
    QVERIFY(!isRoot || seteuid(0) == 0);
    QVERIFY(chmodPath(dir.filePath("closed"), 0755));

    QVERIFY(isSaved);
    QCOMPARE(ReadFile(path), QJsonDocument(small).toJson());
    QCOMPARE(Inode(path), inode);
}

QTEST_GUILESS_MAIN(TestJsonFileUnix)
#include "tst_jsonfile_unix.moc"

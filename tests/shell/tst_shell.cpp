#include <common/shell/shell.h>

#include <logger/recordinglogger.h>

#include <QCoreApplication>
#include <QFile>
#include <QLocale>
#include <QSet>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <thread>

using common::Shell;
namespace logger = common::logger;

namespace
{

constexpr auto onlyDirs = QDir::Dirs | QDir::NoDotAndDotDot;

void WriteFile(const QString& path, const QByteArray& content)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

QByteArray ReadFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(none)");
}

/// The lines of a log as "level: text".
QStringList Lines(const RecordingLogger& log)
{
    QStringList lines;
    for (const auto& line : log.lines) {
        lines += QStringLiteral("%1: %2").arg(line.level).arg(line.text);
        if (line.channel != "common.shell") {
            lines += QStringLiteral("on a wrong channel");
        }
    }
    return lines;
}

} // namespace

class TestShell : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void tempPath();
    void fixedAnswers();
    void copy_data();
    void copy();
    void copyList();
    void copyDir_data();
    void copyDir();
    void copyDirKeepsWhatIsThere();
    void endlessTrees();
    void moveDir_data();
    void moveDir();
    void moveDirLeavesSource();
    void scanFiles();
    void removeAfterExit();

private:
    QString OnDrive(char letter, const QString& name) const;

    QString oldCurrent = QDir::currentPath();
    std::unique_ptr<QTemporaryDir> dir;
};

void TestShell::init()
{
    dir = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir::setCurrent(dir->path()));
}

void TestShell::cleanup()
{
    QDir::setCurrent(oldCurrent);
    dir.reset();
}

/// A path in the temporary folder that begins with a drive; a folder of that name where there are no drives.
QString TestShell::OnDrive(char letter, const QString& name) const
{
    const QString path = dir->path();
    if (path.contains(u':')) {
        return QLatin1Char(letter) + path.mid(1) + u'/' + name;
    }
    return QLatin1Char(letter) + QStringLiteral(":/") + name;
}

void TestShell::tempPath()
{
    const QStringList first = QFileInfo(Shell::TempPath()).fileName().split(u'_');
    const QStringList second = QFileInfo(Shell::TempPath()).fileName().split(u'_');
    QCOMPARE(first.size(), 3);
    QCOMPARE(first.at(0), "QUOLL");
    QVERIFY(QDateTime::fromString(first.at(1), "yyyyMMddHHmmss").isValid());
    QCOMPARE(first.at(2), "100");
    QCOMPARE(second.at(2), "101");

    const QString path = Shell::TempPath();
    QCOMPARE(path, QDir::toNativeSeparators(path));
    QCOMPARE(QFileInfo(path).absolutePath(), QDir(QDir::tempPath()).absolutePath());
    QVERIFY(!QFileInfo::exists(path));

    constexpr int namesEach = 500;
    const auto takeNames = [](QStringList* names) {
        for (int n = 0; n < namesEach; ++n) {
            *names += Shell::TempPath().section(u'_', -1);
        }
    };
    QStringList names;
    QStringList others;
    std::thread thread(takeNames, &names);
    takeNames(&others);
    thread.join();
    const QStringList all = names + others;
    QCOMPARE(QSet<QString>(all.begin(), all.end()).size(), 2 * namesEach);
}

void TestShell::fixedAnswers()
{
    QVERIFY(Shell::Is64BitSystem());
    QVERIFY(!Shell::IsQuickLaunchAvailable());
    QCOMPARE(Shell::applicationDirPath(), QCoreApplication::applicationDirPath());
    QCOMPARE(Shell::LocaleName(), QLocale::system().uiLanguages().value(0, QLocale::system().name()));
    for (const QString& path : {Shell::AppPath(), Shell::DesktopPath(), Shell::StartMenuPath()}) {
        QVERIFY2(QDir(path).isAbsolute() && QDir(path).exists(), qPrintable(path));
        QCOMPARE(path, QDir::toNativeSeparators(path));
    }
    QCOMPARE(Shell::QuickLaunchPath(),
             QDir::toNativeSeparators(Shell::AppPath() + "/Microsoft/Internet Explorer/Quick Launch"));
}

void TestShell::copy_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("destination");
    QTest::addColumn<bool>("overwrite");
    QTest::addColumn<bool>("result");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QStringList>("lines");

    const auto failed = [](const char* source, const char* destination) {
        return QStringLiteral("3: Copy file '%1' to '%2' failed!").arg(source, destination);
    };
    QTest::newRow("into folders that are missing")
        << "new"
        << "a/b/copy" << false << true << QByteArray("new") << QStringList();
    QTest::newRow("existing, kept") << "new"
                                    << "old" << false << false << QByteArray("old")
                                    << QStringList{failed("new", "old")};
    QTest::newRow("existing, replaced") << "new"
                                        << "old" << true << true << QByteArray("new") << QStringList();
    QTest::newRow("a folder cannot be removed")
        << "new"
        << "folder" << true << false << QByteArray("(none)")
        << QStringList{"3: Failed to remove file 'folder'.", failed("new", "folder")};
    QTest::newRow("a file where a folder is needed")
        << "new"
        << "old/copy" << false << false << QByteArray("(none)")
        << QStringList{"3: Failed to create path 'DIR/old'.", failed("new", "old/copy")};
    QTest::newRow("no source") << "none"
                               << "copy" << false << false << QByteArray("(none)")
                               << QStringList{failed("none", "copy")};
    QTest::newRow("a source that is lost by overwriting")
        << "none"
        << "old" << true << false << QByteArray("(none)") << QStringList{failed("none", "old")};
    QTest::newRow("a folder") << "folder"
                              << "copy" << false << false << QByteArray("(none)")
                              << QStringList{failed("folder", "copy")};
}

void TestShell::copy()
{
    QFETCH(QString, source);
    QFETCH(QString, destination);
    QFETCH(bool, overwrite);
    QFETCH(bool, result);
    QFETCH(QByteArray, content);
    QFETCH(QStringList, lines);

    WriteFile("new", "new");
    WriteFile("old", "old");
    QDir().mkdir("folder");
    lines.replaceInStrings("DIR", QDir::currentPath());
    const RecordingLogger log;
    QCOMPARE(Shell::Copy(source, destination, overwrite), result);
    QCOMPARE(ReadFile(destination), content);
    QCOMPARE(Lines(log), lines);
}

void TestShell::copyList()
{
    WriteFile("from/1", "1");
    WriteFile("from/sub/2", "2");
    WriteFile("from/3", "3");
    const QString absolute = QDir::current().absoluteFilePath("from/sub/2");
    QVERIFY(!Shell::Copy({"1", absolute, "none", "3"}, QDir::currentPath() + "/from", "to", false));
    QCOMPARE(ReadFile("to/1"), "1");
    QCOMPARE(ReadFile("to/sub/2"), "2");
    QVERIFY2(!QFileInfo::exists("to/3"), "nothing is copied behind the first failure");

    QVERIFY(Shell::Copy(QStringList{}, "from", "to", false));
    QVERIFY(Shell::Copy({"1", "3"}, "from", "to", true));
}

void TestShell::copyDir_data()
{
    QTest::addColumn<QStringList>("before"); // What exists besides the source.
    QTest::addColumn<QString>("source");
    QTest::addColumn<bool>("tolerate");
    QTest::addColumn<bool>("result");
    QTest::addColumn<QStringList>("after");

    QTest::newRow("a tree makes its destination")
        << QStringList() << "tree" << false << true << QStringList{"a/b/deep", "a/file", "top"};
    QTest::newRow("flat, destination missing") << QStringList() << "flat" << false << false << QStringList();
    QTest::newRow("flat, destination missing, tolerated")
        << QStringList() << "flat" << true << true << QStringList();
    QTest::newRow("flat, destination there")
        << QStringList{"to/other"} << "flat" << false << true << QStringList{"1", "other"};
    QTest::newRow("existing file") << QStringList{"to/1"} << "flat" << false << false << QStringList{"1"};
    QTest::newRow("existing file, tolerated")
        << QStringList{"to/1"} << "flat" << true << true << QStringList{"1"};
    QTest::newRow("below the first level nothing is tolerated")
        << QStringList{"to/a/file"} << "tree" << true << false << QStringList{"a/b/deep", "a/file"};
    QTest::newRow("a file where a folder is needed")
        << QStringList{"to/a"} << "tree" << true << false << QStringList{"a"};
    QTest::newRow("no source") << QStringList{"to/x"} << "none" << true << false << QStringList{"x"};
}

void TestShell::copyDir()
{
    QFETCH(QStringList, before);
    QFETCH(QString, source);
    QFETCH(bool, tolerate);
    QFETCH(bool, result);
    QFETCH(QStringList, after);

    for (const char* path : {"tree/top", "tree/a/file", "tree/a/b/deep", "flat/1"}) {
        WriteFile(path, path);
    }
    for (const QString& path : before) {
        WriteFile(path, "before");
    }
    const RecordingLogger log;
    QCOMPARE(Shell::CopyDir(source, "to", onlyDirs, tolerate), result);
    QStringList found;
    for (const QString& path : Shell::ScanFiles("to", {})) {
        found += QDir("to").relativeFilePath(path);
        const bool wasThere = before.contains("to/" + found.last());
        QCOMPARE(ReadFile(path), wasThere ? QByteArray("before") : (source + u'/' + found.last()).toUtf8());
    }
    found.sort();
    QCOMPARE(found, after);
    QCOMPARE(Lines(log), QStringList());
}

void TestShell::copyDirKeepsWhatIsThere()
{
    for (const char* path : {"from/a/1", "from/b/2", "from/3"}) {
        WriteFile(path, path);
    }
    QDir().mkdir("to");
    QVERIFY2(Shell::CopyDir("from", "to", QDir::Files, false) == false, "a file is no directory to enter");
    QVERIFY(QDir("to").removeRecursively() && QDir().mkdir("to"));
    QVERIFY(Shell::CopyDir("from", "to", QDir::Hidden | QDir::NoDotAndDotDot, false));
    QCOMPARE(QDir("to").entryList(QDir::NoDotAndDotDot | QDir::AllEntries), QStringList{"3"});
}

void TestShell::endlessTrees()
{
    WriteFile("from/a/1", "1");
    QVERIFY(!Shell::CopyDir("from", "from/a", onlyDirs, true));
    QVERIFY(!Shell::CopyDir("from", "from/a/new", onlyDirs, true));
    QVERIFY(QDir("from/a").entryList(onlyDirs).size() <= 1);
    QVERIFY(QDir("from").removeRecursively());

#ifdef Q_OS_UNIX
    WriteFile("from/a/1", "1");
    WriteFile("other/2", "2");
    QVERIFY(QFile::link("..", "from/a/up"));
    QVERIFY(QFile::link(QDir::currentPath() + "/other", "from/a/other"));
    const QString a = QDir::currentPath() + "/from/a/";
    QStringList found = Shell::ScanFiles("from", {});
    found.sort();
    QCOMPARE(found, QStringList({a + "1", a + "other/2"}));
    QVERIFY(!Shell::CopyDir("from", "to", onlyDirs, true));
    QVERIFY(QFile::remove("from/a/up") && QDir("to").removeRecursively());
    QVERIFY(Shell::CopyDir("from", "to", onlyDirs, false));
    QCOMPARE(ReadFile("to/a/other/2"), "2");
#endif
}

void TestShell::moveDir_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("destination");
    QTest::addColumn<bool>("result");
    QTest::addColumn<QStringList>("lines");

    const QString noDrive = "3: MoveDir: source or destination dir is not absolute path: ";
    QTest::newRow("same drive") << "c:from"
                                << "c:to" << true << QStringList();
    QTest::newRow("same drive, nothing there") << "c:none"
                                               << "c:to" << false << QStringList();
    QTest::newRow("drives that differ in case are copied") << "c:from"
                                                           << "C:there" << true << QStringList();
    QTest::newRow("another drive, flat, destination missing")
        << "c:flat"
        << "C:to" << false << QStringList{"3: MoveDir: failed to copy dir: c:flat -> C:to"};
    QTest::newRow("no drive") << "from"
                              << "to" << true << QStringList{noDrive + "from to"};
    QTest::newRow("no drive, nothing there") << "none"
                                             << "to" << false << QStringList{noDrive + "none to"};
    QTest::newRow("no drive at the destination") << "c:from"
                                                 << "to" << true << QStringList{noDrive + "c:from to"};
    QTest::newRow("blanks are no drive") << " :from"
                                         << "to" << false << QStringList{noDrive + " :from to"};
}

void TestShell::moveDir()
{
    QFETCH(QString, source);
    QFETCH(QString, destination);
    QFETCH(bool, result);
    QFETCH(QStringList, lines);

    const auto place = [this](const QString& name) {
        const bool hasDrive = name.size() > 1 && name.at(1) == u':' && name.at(0) != u' ';
        return hasDrive ? OnDrive(name.at(0).toLatin1(), name.mid(2)) : name;
    };
    lines.replaceInStrings(source, place(source));
    lines.replaceInStrings(destination, place(destination));
    source = place(source);
    destination = place(destination);
    for (const QString& base : {QString("from"), OnDrive('c', "from")}) {
        WriteFile(base + "/a/1", "1");
    }
    WriteFile(OnDrive('c', "flat/2"), "2");
    QVERIFY(QDir().mkpath(OnDrive('C', "there")));

    const RecordingLogger log;
    QCOMPARE(Shell::MoveDir(source, destination), result);
    QCOMPARE(ReadFile(destination + "/a/1"), result ? QByteArray("1") : QByteArray("(none)"));
    QVERIFY(!result || !QFileInfo::exists(source));
    QCOMPARE(Lines(log), lines);
}

void TestShell::moveDirLeavesSource()
{
    const QString source = OnDrive('c', "kept");
    WriteFile(OnDrive('c', "real/1"), "1");
#ifdef Q_OS_WIN
    QVERIFY(QDir().rename(OnDrive('c', "real"), source));
    QFile held(source + "/1"); // An open file cannot be deleted.
    QVERIFY(held.open(QIODevice::ReadOnly));
#else
    QVERIFY(QFile::link("real", source)); // A link is no directory that could be removed.
#endif
    QVERIFY(QDir().mkpath(OnDrive('C', "there")));
    const RecordingLogger log;
    QVERIFY(Shell::MoveDir(source, OnDrive('C', "there")));
    QCOMPARE(ReadFile(OnDrive('C', "there/1")), "1");
    QCOMPARE(Lines(log), QStringList{"4: MoveDir: failed to delete source dir: " + source});
}

void TestShell::scanFiles()
{
    for (const char* path : {"scan/x.txt", "scan/txt.d/y.txt", "scan/txt.d/z.bin", "scan/other/w.txt"}) {
        WriteFile(path, path);
    }
    QVERIFY(QDir().mkpath("scan/empty"));
    const auto scan = [](const QString& path, const QStringList& filters) {
        QStringList found;
        for (const QString& file : Shell::ScanFiles(path, filters)) {
            found += QDir::current().relativeFilePath(file);
            if (!QDir::isAbsolutePath(file)) {
                found += "not absolute";
            }
        }
        found.sort();
        return found;
    };
    QCOMPARE(scan("scan", {}),
             QStringList({"scan/other/w.txt", "scan/txt.d/y.txt", "scan/txt.d/z.bin", "scan/x.txt"}));
    QCOMPARE(scan("scan/txt.d/..", {"*TXT*"}), QStringList({"scan/txt.d/y.txt", "scan/x.txt"}));
    QCOMPARE(scan("scan", {"*.bin", "txt*"}), QStringList{"scan/txt.d/z.bin"});
    QCOMPARE(scan("none", {}), QStringList());
    QCOMPARE(scan("scan/x.txt", {}), QStringList());
}

void TestShell::removeAfterExit()
{
    RecordingLogger log;
    QVERIFY(Shell::RemoveAfterExit("none"));
    QCOMPARE(Lines(log), QStringList());

    WriteFile("gone/sub/1", "1");
    const QString path = QDir::current().absoluteFilePath("gone");
    QVERIFY(Shell::RemoveAfterExit(path));
    QCOMPARE(log.lines.size(), 1U);
    QCOMPARE(log.lines[0].level, logger::Debug);
    QVERIFY2(log.lines[0].text.startsWith("RemoveAfterExit() - CreateProcessW("), qPrintable(Lines(log)[0]));
    QVERIFY2(log.lines[0].text.endsWith(", " + QDir::toNativeSeparators(QDir::currentPath()) +
                                        ") successfully started!"),
             qPrintable(Lines(log)[0]));
    QVERIFY(log.lines[0].text.contains(QDir::toNativeSeparators(path)));
    QTRY_VERIFY_WITH_TIMEOUT(!QFileInfo::exists("gone"), 15000);
}

QTEST_GUILESS_MAIN(TestShell)
#include "tst_shell.moc"

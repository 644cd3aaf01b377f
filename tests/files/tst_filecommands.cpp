#include "filetree.h"
#include "jobrecorder.h"

#include <common/shell/filecommands.h>

#include <QElapsedTimer>
#include <QTemporaryDir>

using common::FileCommands;

class TestFileCommands : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void givesUpAfterFiveAttempts();
    void healsAtThirdAttempt();
    void copyKeepsPermissions();
};

void TestFileCommands::healsAtThirdAttempt()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"d/b=2"});
    JobLog log;
    log.onLine = [&](const QString& text) {
        if (text.endsWith("attempt '2'")) {
            QVERIFY(QFile::remove(folder.filePath("d/b")));
        }
    };
    QDir dir;
    QVERIFY(FileCommands::RemoveDirectory(dir, folder.filePath("d")));
    QCOMPARE(log.Lines("shell.filecmd", 7, folder.path()),
             QStringList({"4 Failed to remove directory 'ROOT/d', attempt '1'",
                          "4 Failed to remove directory 'ROOT/d', attempt '2'"}));
}

void TestFileCommands::givesUpAfterFiveAttempts()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"f=1", "d/b=2"});
    const auto path = [&folder](const char* name) { return folder.filePath(name); };
    QDir dir;
    QFile file(path("f"));
    QFile missing(path("a%1b"));
    const std::pair<QString, std::function<bool()>> commands[] = {
        {"copy file 'ROOT/f' to 'ROOT/d/b'", [&] { return FileCommands::CopyFile(file, path("d/b")); }},
        {"create directory 'ROOT/f/x'", [&] { return FileCommands::CreateDirectory(dir, path("f/x")); }},
        {"create link 'ROOT/x/l' --> 'x/y'", [&] { return FileCommands::CreateSymlink("x/y", path("x/l")); }},
        {"remove directory 'ROOT/d'", [&] { return FileCommands::RemoveDirectory(dir, path("d")); }},
        {"remove file 'ROOT/a%1b'", [&] { return FileCommands::RemoveFile(missing); }},
        {"rename directory 'ROOT/x' to 'ROOT/z'",
         [&] { return FileCommands::RenameDirectory(dir, path("x"), path("z")); }}};
    for (const auto& [complaint, run] : commands) {
        JobLog log;
        QElapsedTimer timer;
        timer.start();
        QVERIFY(!run());
        QVERIFY2(timer.elapsed() >= 190, "four sleeps of 50 ms; the clock of a sleep may be a little ahead");
        const QStringList lines = log.Lines("shell.filecmd", 7, folder.path());
        QCOMPARE(lines.size(), 5);
        for (int attempt = 1; attempt <= 5; ++attempt) {
            // The number is filled in last, also into what stands in a name.
            const QString line = "4 Failed to " + complaint + ", attempt '%1'";
            QCOMPARE(lines.at(attempt - 1), line.arg(attempt));
        }
    }
    QCOMPARE(filetree::Snapshot(folder.path()), QStringList({"d/b=2", "f=1"}));
    QVERIFY(FileCommands::RenameDirectory(dir, path("d"), path("e")));
    QCOMPARE(filetree::Snapshot(folder.path()), QStringList({"e/b=2", "f=1"}));
    // A success leaves nothing of an earlier failure.
    QVERIFY(file.error() != QFile::NoError && FileCommands::CopyFile(file, path("e/f")));
    QCOMPARE(file.error(), QFile::NoError);
}

void TestFileCommands::copyKeepsPermissions()
{
    for (const int mode : {0644, 0755, 0444, 0066, 0000, 0711}) {
        const QTemporaryDir folder;
        filetree::Build(folder.path(), {"f=1"});
        std::filesystem::permissions(filetree::ToPath(folder.filePath("f")), std::filesystem::perms(mode));
        QFile file(folder.filePath("f"));
        if (file.open(QIODevice::ReadOnly)) {
            file.close();
            QVERIFY(FileCommands::CopyFile(file, folder.filePath("ours")));
            QVERIFY(file.copy(folder.filePath("qt")));
            QCOMPARE(QFile::permissions(folder.filePath("ours")), QFile::permissions(folder.filePath("qt")));
        }
    }
}

QTEST_GUILESS_MAIN(TestFileCommands)
#include "tst_filecommands.moc"

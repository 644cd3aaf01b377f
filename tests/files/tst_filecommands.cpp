#include "filetree.h"
#include "jobrecorder.h"

#include <common/shell/filecommands.h>

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

using common::FileCommands;

class TestFileCommands : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void commands_data();
    void commands();
    void healsAtThirdAttempt();
    void copyKeepsPermissions_data();
    void copyKeepsPermissions();
};

namespace
{

/// Runs a command by its name; "ROOT" in an argument is the test's folder.
bool Run(const QStringList& call)
{
    const QString& first = call.at(1);
    const QString second = call.value(2);
    QFile file(first);
    QDir dir;
    if (call.at(0) == "CopyFile") {
        return FileCommands::CopyFile(file, second);
    }
    if (call.at(0) == "CreateDirectory") {
        return FileCommands::CreateDirectory(dir, first);
    }
    if (call.at(0) == "CreateSymlink") {
        return FileCommands::CreateSymlink(first, second);
    }
    if (call.at(0) == "RemoveDirectory") {
        return FileCommands::RemoveDirectory(dir, first);
    }
    if (call.at(0) == "RemoveFile") {
        return FileCommands::RemoveFile(file);
    }
    return FileCommands::RenameDirectory(dir, first, second);
}

QStringList Attempts(const QString& text, int count)
{
    QStringList lines;
    for (int attempt = 1; attempt <= count; ++attempt) {
        lines += QString("4 shell.filecmd %1, attempt '%2'").arg(text, QString::number(attempt));
    }
    return lines;
}

} // namespace

void TestFileCommands::commands_data()
{
    QTest::addColumn<QString>("call");
    QTest::addColumn<QStringList>("after");
    QTest::addColumn<QString>("complaint");

    const QStringList before{"d/b=2", "e/", "f=1"};
    const auto row = [](const char* name, const QString& call, const QStringList& after,
                        const QString& complaint = QString()) {
        QTest::newRow(name) << call << after << complaint;
    };
    row("copy", "CopyFile ROOT/f ROOT/g", {"d/b=2", "e/", "f=1", "g=1"});
    row("copy onto a file", "CopyFile ROOT/f ROOT/d/b", before, "Failed to copy file 'ROOT/f' to 'ROOT/d/b'");
    row("copy nothing", "CopyFile ROOT/x ROOT/y", before, "Failed to copy file 'ROOT/x' to 'ROOT/y'");
    row("copy into nowhere", "CopyFile ROOT/f ROOT/x/y", before,
        "Failed to copy file 'ROOT/f' to 'ROOT/x/y'");
    row("copy a directory", "CopyFile ROOT/d ROOT/y", before, "Failed to copy file 'ROOT/d' to 'ROOT/y'");
    row("make directories", "CreateDirectory ROOT/p/q/r", {"d/b=2", "e/", "f=1", "p/q/r/"});
    row("make a directory that exists", "CreateDirectory ROOT/d", before);
    row("make a directory below a file", "CreateDirectory ROOT/f/x", before,
        "Failed to create directory 'ROOT/f/x'");
    row("remove a directory", "RemoveDirectory ROOT/e", {"d/b=2", "f=1"});
    row("remove a full directory", "RemoveDirectory ROOT/d", before, "Failed to remove directory 'ROOT/d'");
    row("remove a file", "RemoveFile ROOT/f", {"d/b=2", "e/"});
    row("remove nothing", "RemoveFile ROOT/x", before, "Failed to remove file 'ROOT/x'");
    row("number in a name", "RemoveFile ROOT/a%1b", before, "Failed to remove file 'ROOT/a%1b'");
    row("rename a directory", "RenameDirectory ROOT/d ROOT/z", {"e/", "f=1", "z/b=2"});
    row("rename nothing", "RenameDirectory ROOT/x ROOT/z", before,
        "Failed to rename directory 'ROOT/x' to 'ROOT/z'");
#ifdef Q_OS_UNIX
    row("link to nothing", "CreateSymlink x/y ROOT/l", {"d/b=2", "e/", "f=1", "l->x/y"});
    row("link onto a file", "CreateSymlink x/y ROOT/f", before, "Failed to create link 'ROOT/f' --> 'x/y'");
#endif
}

void TestFileCommands::commands()
{
    QFETCH(QString, call);
    QFETCH(QStringList, after);
    QFETCH(QString, complaint);

    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"f=1", "d/b=2", "e/"});
    JobLog log;
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(Run(call.replace("ROOT", folder.path()).split(' ')), complaint.isEmpty());
    // Four sleeps of 50 ms, or none; the clock of a sleep may be a little ahead.
    QVERIFY(complaint.isEmpty() || timer.elapsed() >= 190);
    QStringList expected = Attempts(complaint, complaint.isEmpty() ? 0 : 5);
    if (call.contains("%1")) {
        // The number of the attempt is filled in last and everywhere.
        for (int attempt = 1; attempt <= 5; ++attempt) {
            expected[attempt - 1].replace("%1", QString::number(attempt));
        }
    }
    QCOMPARE(log.Lines(7, folder.path()), expected);
    QCOMPARE(filetree::Snapshot(folder.path()), after);
}

void TestFileCommands::healsAtThirdAttempt()
{
    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"d/b=2"});
    const QString path = folder.filePath("d");
    JobLog log;
    log.onLine = [&](const QString& text) {
        if (text.endsWith("attempt '2'")) {
            QVERIFY(QFile::remove(path + "/b"));
        }
    };
    QDir dir;
    QVERIFY(FileCommands::RemoveDirectory(dir, path));
    QCOMPARE(log.Lines(7, folder.path()), Attempts("Failed to remove directory 'ROOT/d'", 2));
}

void TestFileCommands::copyKeepsPermissions_data()
{
    QTest::addColumn<int>("mode");
    for (const int mode : {0644, 0755, 0600, 0444, 0066, 0011, 0000, 0711}) {
        QTest::addRow("%o", mode) << mode;
    }
}

void TestFileCommands::copyKeepsPermissions()
{
    QFETCH(int, mode);

    const QTemporaryDir folder;
    filetree::Build(folder.path(), {"f=1"});
    std::filesystem::permissions(filetree::ToPath(folder.filePath("f")), std::filesystem::perms(mode));
    QFile file(folder.filePath("f"));
    if (!file.open(QIODevice::ReadOnly)) {
        QSKIP("this user may not read such a file");
    }
    file.close();
    QVERIFY(FileCommands::CopyFile(file, folder.filePath("ours")));
    QVERIFY(file.copy(folder.filePath("qt")));
    QCOMPARE(QFile::permissions(folder.filePath("ours")), QFile::permissions(folder.filePath("qt")));
    QCOMPARE(file.error(), QFileDevice::NoError);
}

QTEST_GUILESS_MAIN(TestFileCommands)
#include "tst_filecommands.moc"

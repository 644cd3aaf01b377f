#include <common/shell/shell.h>

#include <files/filetree.h>
#include <logger/recordinglogger.h>

#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <objbase.h>

class TestDesktop : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void folders();
    void shortcut();
    void showFile();
    void removeAfterExit();
    void move();
};

void TestDesktop::folders()
{
    const auto standard = [](QStandardPaths::StandardLocation type) {
        return QDir::toNativeSeparators(QStandardPaths::writableLocation(type));
    };
    QCOMPARE(common::Shell::AppPath(), qEnvironmentVariable("APPDATA"));
    QCOMPARE(common::Shell::DesktopPath(), standard(QStandardPaths::DesktopLocation));
    QCOMPARE(common::Shell::StartMenuPath(), standard(QStandardPaths::ApplicationsLocation));
}

void TestDesktop::shortcut()
{
    const QTemporaryDir dir;
    const QString link = QDir::toNativeSeparators(dir.filePath("My phone ü.lnk"));
    const QString target = QDir::toNativeSeparators(dir.filePath("my phone.exe"));
    filetree::Write(target, {});
    const QString work = QDir::toNativeSeparators(dir.path());
    const QString arguments = "--call \"tel:+1 2\" %TEMP% ü";
    QVERIFY2(!common::Shell::CreateShortcut(target, work, "", link, "", ""), "there is no COM yet");

    QVERIFY(SUCCEEDED(CoInitialize(nullptr)));
    QVERIFY(common::Shell::CreateShortcut(target, work, arguments, link, "Calls people", "vexline.phone"));
    QVERIFY(!common::Shell::CreateShortcut(target, work, "", dir.filePath("none/x.lnk"), "", ""));
    CoUninitialize();
    QCOMPARE(QFileInfo(QFile::symLinkTarget(link)).fileName(), "my phone.exe");
    const QByteArray content = filetree::Read(link);
    for (const QString& text : {work, arguments, QString("Calls people")}) {
        const auto* const wide = reinterpret_cast<const char*>(text.utf16()); // As links store it.
        QVERIFY2(content.contains(QByteArray(wide, 2 * text.size())), qPrintable(text));
    }
}

void TestDesktop::showFile()
{
    const RecordingLogger log;
    const QTemporaryDir dir;
    QVERIFY(!common::Shell::ShowFile("C:/no such folder/a b"));
    QVERIFY2(!common::Shell::ShowFile(dir.path()), "there is no COM yet");
    QCOMPARE(log.lines.size(), 1U);
    QCOMPARE(log.lines[0].text,
             "Shell::ShowFile() - unable to start 'explorer.exe /select,C:\\no such folder\\a b'");
}

void TestDesktop::removeAfterExit()
{
    const RecordingLogger log;
    QVERIFY(common::Shell::RemoveAfterExit("none"));
    QTemporaryDir dir;
    const QString path = QDir::toNativeSeparators(dir.filePath("d/a b"));
    QVERIFY(QDir().mkpath(path));
    // The planted cmd.exe in the working directory must not run; if it did, nothing would be removed.
    QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), dir.filePath("cmd.exe")));
    {
        const filetree::CurrentDirectory current(dir.path());
        QVERIFY(common::Shell::RemoveAfterExit("d/a b"));
    }
    QCOMPARE(log.lines.size(), 1U);
    QTRY_VERIFY_WITH_TIMEOUT(!QFileInfo::exists(path), 20000);
    QTRY_VERIFY_WITH_TIMEOUT(dir.remove(), 20000); // The interpreter may still be using the directory.
}

void TestDesktop::move()
{
    const QTemporaryDir dir;
    filetree::Build(dir.path(), {"from/a/1=1"});
    QVERIFY(QFile::setPermissions(dir.filePath("from/a/1"), QFileDevice::ReadOwner));
    QVERIFY2(!common::Shell::MoveDir(dir.path(), "Q:/to"), "there is no such drive");
    const RecordingLogger log;
    // Drive letters that differ in case count as two drives, so the tree is copied and removed.
    const QString drive = dir.path().left(1);
    QVERIFY(common::Shell::MoveDir(drive.toUpper() + dir.filePath("from").mid(1),
                                   drive.toLower() + dir.filePath("to").mid(1)));
    QVERIFY(log.lines.empty());
    QCOMPARE(filetree::Snapshot(dir.path()), QStringList("to/a/1=1"));
}

QTEST_GUILESS_MAIN(TestDesktop)
#include "tst_desktop.moc"

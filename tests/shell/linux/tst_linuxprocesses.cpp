#include <common/shell/prochelper.h>
#include <common/shell/shell.h>

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <memory>

#include <sys/wait.h>
#include <unistd.h>

using common::Shell;
using tools::process::ProcHelper;

class TestLinuxProcesses : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void imageThatWasReplaced();
    void processOfAnotherUser();
    void firstThreadHasEnded();
    void detachedChildIsNobodys();

private:
    std::unique_ptr<QTemporaryDir> dir;
    QString name;
    QString program;
    QProcess child;
};

void TestLinuxProcesses::init()
{
    static int number = 0;
    dir = std::make_unique<QTemporaryDir>();
    // Short enough for the kernel's name of the process, which stands in parentheses where it is read.
    name = QStringLiteral("vx%1) %2").arg(QCoreApplication::applicationPid()).arg(++number);
    program = dir->filePath(name);
    QVERIFY(QFile::copy(QStringLiteral(CHILD_PROGRAM), program));
}

void TestLinuxProcesses::cleanup()
{
    child.kill();
    child.waitForFinished();
}

void TestLinuxProcesses::imageThatWasReplaced()
{
    child.start(program, {"60000"});
    QVERIFY(child.waitForStarted());
    QVERIFY(QFile::remove(program));
    QVERIFY(Shell::ProcessExists(name));
    QVERIFY(Shell::ProcessExists(program));
    QVERIFY(!Shell::ProcessExists(name + " (deleted)"));
}

void TestLinuxProcesses::processOfAnotherUser()
{
    constexpr uid_t anotherUser = 65534;
    child.start(program, {"60000"});
    QVERIFY(child.waitForStarted());
    const auto id = static_cast<unsigned long>(child.processId());
    if (setresuid(anotherUser, anotherUser, 0) != 0) {
        QSKIP("only root can become another user");
    }
    const bool isHidden = QFile::symLinkTarget(QString("/proc/%1/exe").arg(id)).isEmpty();
    const bool isFoundByKernelName = Shell::ProcessExists(name);
    const bool isFoundByPath = Shell::ProcessExists(program);
    const int waited = Shell::ProcessWait(name, 50);
    const int killed = Shell::ProcessKill(name);
    ProcHelper::Terminate(id);
    QCOMPARE(setresuid(0, 0, 0), 0);
    QVERIFY(isHidden && isFoundByKernelName && !isFoundByPath);
    QCOMPARE(waited, 1);
    QCOMPARE(killed, 0);
    QVERIFY(!child.waitForFinished(100));
    QCOMPARE(Shell::ProcessKill(name), 0);
    QVERIFY(child.waitForFinished());
}

void TestLinuxProcesses::firstThreadHasEnded()
{
    // The process runs as long as its other threads; only its kernel name is left.
    child.start(program, {"500", "thread"});
    QVERIFY(child.waitForStarted());
    QTRY_VERIFY(QFile::symLinkTarget(QString("/proc/%1/exe").arg(child.processId())).isEmpty());
    QVERIFY(Shell::ProcessExists(name));
    QCOMPARE(Shell::ProcessWait(name, 20), 1);
    QCOMPARE(Shell::ProcessWait(name, 30000), 0);
    QVERIFY(!Shell::ProcessExists(name));
    QVERIFY(child.waitForFinished());
    QCOMPARE(child.exitCode(), 7);
}

void TestLinuxProcesses::detachedChildIsNobodys()
{
    QVERIFY(Shell::ProcessStartDetached(program, {"200"}, ""));
    QVERIFY(Shell::ProcessExists(program));
    QCOMPARE(waitpid(-1, nullptr, WNOHANG), -1);
    QCOMPARE(errno, ECHILD);
    const auto id = static_cast<pid_t>(ProcHelper::FindProcessId(name));
    QVERIFY2(getsid(id) != getsid(0), "it does not go down with our terminal");
    QCOMPARE(Shell::ProcessWait(name, 30000), 0);
}

QTEST_GUILESS_MAIN(TestLinuxProcesses)
#include "tst_linuxprocesses.moc"

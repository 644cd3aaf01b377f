#include <common/shell/prochelper.h>
#include <common/shell/shell.h>

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <cerrno>
#include <memory>
#include <thread>

#include <fcntl.h>
#include <sys/syscall.h>
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
    void threads();
    void detachedChildIsNobodys();
    void closedStandardStreams();

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
    // Short enough for the kernel's name of the process.
    name = QStringLiteral("vxl%1-%2").arg(QCoreApplication::applicationPid()).arg(++number);
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
    QVERIFY(QFile::remove(program));
    for (const QString suffix : {"", " (deleted)"}) {
        QVERIFY(QFile::copy(QStringLiteral(CHILD_PROGRAM), program + suffix));
        child.start(program + suffix, {"60000"});
        QVERIFY(child.waitForStarted());
        QVERIFY(QFile::remove(program + suffix));
        QVERIFY(Shell::ProcessExists(name + suffix));
        QVERIFY(Shell::ProcessExists(program + suffix));
        QCOMPARE(ProcHelper::FindProcessId(name + suffix), static_cast<unsigned long>(child.processId()));
        QVERIFY(!Shell::ProcessExists(name + suffix + " (deleted)"));
        cleanup();
    }
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

void TestLinuxProcesses::threads()
{
    // The id of a thread is not that of a process, so nothing is ended; above all not this one.
    std::atomic<long> id{0};
    std::atomic<bool> done{false};
    std::thread thread([&] {
        id = syscall(SYS_gettid);
        while (!done) {
            std::this_thread::yield();
        }
    });
    QTRY_VERIFY(id != 0);
    QVERIFY(ProcHelper::Terminate(static_cast<unsigned long>(id)));
    done = true;
    thread.join();

    // A process whose first thread has ended runs as long as the others; only its kernel name is left.
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

void TestLinuxProcesses::closedStandardStreams()
{
    const int saved = fcntl(0, F_DUPFD_CLOEXEC, 3);
    close(0);
    const bool missing = !Shell::ProcessStartDetached(dir->filePath("none"), {}, "");
    const bool started = Shell::ProcessStartDetached(program, {"0", dir->filePath("report")}, "");
    dup2(saved, 0);
    close(saved);
    QVERIFY(missing && started);
    QFile report(dir->filePath("report"));
    QTRY_VERIFY(report.exists());
    QVERIFY(report.open(QIODevice::ReadOnly));
    QVERIFY2(report.readAll().endsWith("\n1\n2\n"), "nothing slipped into the place of a closed stream");
}

QTEST_GUILESS_MAIN(TestLinuxProcesses)
#include "tst_linuxprocesses.moc"

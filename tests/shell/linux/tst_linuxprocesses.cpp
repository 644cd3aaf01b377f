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

namespace
{

constexpr uid_t anotherUser = 65534;

/// Makes this test an ordinary user, as far as the kernel is concerned, until it goes out of scope.
class AsAnotherUser
{
public:
    AsAnotherUser() { isSet = setresuid(anotherUser, anotherUser, 0) == 0; }
    ~AsAnotherUser()
    {
        if (isSet && setresuid(0, 0, 0) != 0) {
            qFatal("cannot become root again");
        }
    }

private:
    Q_DISABLE_COPY(AsAnotherUser)

    bool isSet;
};

} // namespace

class TestLinuxProcesses : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void imageThatWasReplaced_data();
    void imageThatWasReplaced();
    void processOfAnotherUser();
    void threads();
    void processWhoseFirstThreadEnded();
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

void TestLinuxProcesses::imageThatWasReplaced_data()
{
    QTest::addColumn<QString>("suffix");

    QTest::newRow("deleted") << "";
    QTest::newRow("deleted, and called so") << " (deleted)";
}

void TestLinuxProcesses::imageThatWasReplaced()
{
    QFETCH(QString, suffix);

    QVERIFY(suffix.isEmpty() || QFile::rename(program, program + suffix));
    child.start(program + suffix, {"60000"});
    QVERIFY(child.waitForStarted());
    QVERIFY(Shell::ProcessExists(name + suffix));
    QVERIFY(QFile::remove(program + suffix));
    QVERIFY(Shell::ProcessExists(name + suffix));
    QVERIFY(Shell::ProcessExists(program + suffix));
    QCOMPARE(ProcHelper::FindProcessId(name + suffix), static_cast<unsigned long>(child.processId()));
    QVERIFY(!Shell::ProcessExists(name + suffix + " (deleted)"));
}

void TestLinuxProcesses::processOfAnotherUser()
{
    if (geteuid() != 0) {
        QSKIP("only root can become another user");
    }
    child.start(program, {"60000"});
    QVERIFY(child.waitForStarted());
    {
        const AsAnotherUser user;
        QVERIFY2(QFile::symLinkTarget(QStringLiteral("/proc/%1/exe").arg(child.processId())).isEmpty(),
                 "its image is not for us to see");
        QVERIFY2(Shell::ProcessExists(name), "found by the kernel's name");
        QVERIFY2(!Shell::ProcessExists(program), "a path cannot be compared");
        QCOMPARE(Shell::ProcessWait(name, 50), 1);
        QCOMPARE(Shell::ProcessKill(name), 0);
        QVERIFY(ProcHelper::Terminate(static_cast<unsigned long>(child.processId())));
    }
    QVERIFY(!child.waitForFinished(100));
    QCOMPARE(Shell::ProcessKill(name), 0);
    QVERIFY(child.waitForFinished());
}

void TestLinuxProcesses::threads()
{
    std::atomic<long> id{0};
    std::atomic<bool> done{false};
    std::thread thread([&] {
        id = syscall(SYS_gettid);
        while (!done) {
            std::this_thread::yield();
        }
    });
    while (id == 0) {
        std::this_thread::yield();
    }
    // Not a process, so nothing is ended; above all not this one.
    QVERIFY(ProcHelper::Terminate(static_cast<unsigned long>(id)));
    done = true;
    thread.join();
}

void TestLinuxProcesses::processWhoseFirstThreadEnded()
{
    int ends[2];
    QCOMPARE(pipe(ends), 0);
    const pid_t process = fork();
    if (process == 0) {
        std::thread([&] {
            char end = 0;
            _exit(read(ends[0], &end, 1) == 1 ? 7 : 8);
        }).detach();
        syscall(SYS_exit, 0); // Ends this thread only.
    }
    const QString kernelName = QFileInfo(QCoreApplication::applicationFilePath()).fileName().left(15);
    const auto parent = static_cast<unsigned long>(getpid());
    QTRY_COMPARE(ProcHelper::FindChildProcessId(parent, kernelName), static_cast<unsigned long>(process));
    QCOMPARE(Shell::ProcessWait(kernelName, 50), 1);
    QCOMPARE(write(ends[1], "", 1), 1);
    int status = 0;
    QCOMPARE(Shell::ProcessWait(kernelName, 30000), 0);
    QCOMPARE(ProcHelper::FindChildProcessId(parent, kernelName), 0UL);
    QCOMPARE(waitpid(process, &status, 0), process);
    QCOMPARE(WEXITSTATUS(status), 7);
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
    QTRY_VERIFY(QFileInfo::exists(dir->filePath("report")));
    QFile report(dir->filePath("report"));
    QVERIFY(report.open(QIODevice::ReadOnly));
    QVERIFY2(report.readAll().endsWith("\n1\n2\n"), "nothing slipped into the place of a closed stream");
}

QTEST_GUILESS_MAIN(TestLinuxProcesses)
#include "tst_linuxprocesses.moc"

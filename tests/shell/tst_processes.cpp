#include <common/shell/prochelper.h>
#include <common/shell/shell.h>

#include <files/filetree.h>
#include <logger/recordinglogger.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <csignal>
#include <future>
#include <memory>
#include <thread>
#include <vector>

#ifdef Q_OS_UNIX
#include <cerrno>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

using common::Shell;
using tools::process::ProcHelper;

constexpr int aMinute = 60000;

class TestProcesses : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { children.clear(); }
    void namesAndIds();
    void matching();
    void wait();
    void noMoreThanSixtyFour();
    void startDetached();
#ifdef Q_OS_UNIX
    void startKilled();
    void waitDespiteSignals();
    void firstThreadThatHasEnded();
    void idOfThread();
    void processOfAnotherUser();
    void withoutPidfd();
#endif

private:
    void Start(int lifetime, std::size_t count = 1);
    std::ptrdiff_t Running() const;

    std::unique_ptr<QTemporaryDir> dir;
    QString program; ///< A copy of the child under a unique name.
    QString name;
    std::vector<std::unique_ptr<QProcess>> children;
    RecordingLogger log;
};

void TestProcesses::init()
{
    static int number = 0;
    dir = std::make_unique<QTemporaryDir>();
    const QString suffix = QStringLiteral(CHILD_PROGRAM).endsWith(".exe") ? ".exe" : "";
    // The kernel keeps at most 15 bytes of the name; /proc/PID/stat encloses them in parentheses.
    name = QString("vx%1) %2").arg(QCoreApplication::applicationPid()).arg(++number) + suffix;
    program = QDir::toNativeSeparators(QFileInfo(dir->path()).canonicalFilePath() + u'/' + name);
    QVERIFY(QFile::copy(QStringLiteral(CHILD_PROGRAM), program));
}

void TestProcesses::Start(int lifetime, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        const auto& child = children.emplace_back(std::make_unique<QProcess>());
        child->start(program, {QString::number(lifetime)});
        if (!child->waitForStarted()) {
            child->start(); // Wine fails to start about one process in a hundred.
        }
        QVERIFY2(child->waitForStarted(), qPrintable(child->errorString()));
    }
}

std::ptrdiff_t TestProcesses::Running() const
{
    return std::count_if(children.begin(), children.end(), [](const auto& child) {
        return child->state() != QProcess::NotRunning && !child->waitForFinished(10);
    });
}

void TestProcesses::namesAndIds()
{
    Start(aMinute);
    for (const QString& query : {QString(), QString("vx"), "/no/such/" + name, "./" + name}) {
        QVERIFY2(!Shell::ProcessExists(query), qPrintable(query));
        QCOMPARE(Shell::ProcessWait(query, -1), 0);
        QCOMPARE(Shell::ProcessKill(query), 0);
        QCOMPARE(ProcHelper::FindProcessId(query), 0UL);
    }
    // These ids denote process groups, the init process or no process at all.
    for (const unsigned long id : {0UL, 1UL, static_cast<unsigned long>(-1L), 0xFFFFFFFFUL, 0x80000000UL,
                                   static_cast<unsigned long>(-100L)}) {
        QVERIFY(ProcHelper::Terminate(id));
    }
    const auto id = static_cast<unsigned long>(children.front()->processId());
    const auto ownId = static_cast<unsigned long>(QCoreApplication::applicationPid());
    QCOMPARE(ProcHelper::FindProcessId(name.toUpper()), id);
    QCOMPARE(ProcHelper::FindChildProcessId(ownId, name.toUpper()), id);
    QCOMPARE(ProcHelper::FindChildProcessId(id, name), 0UL);
    QCOMPARE(Running(), 1);
    QVERIFY(ProcHelper::Terminate(id));
    QVERIFY(children.front()->waitForFinished());
}

void TestProcesses::matching()
{
    for (const QString& query :
         {name, name.toUpper(), program, program.toUpper(), QDir::fromNativeSeparators(program)}) {
        QVERIFY2(!Shell::ProcessExists(query), qPrintable(query));
        Start(aMinute);
        QTRY_VERIFY(Shell::ProcessExists(query)); // On Windows, a process has no path at first.
        QCOMPARE(Shell::ProcessWait(query, 0), 1);
        QCOMPARE(Shell::ProcessKill(query), 0);
        QCOMPARE(Shell::ProcessWait(query, aMinute), 0);
        // The child has ended, but this test, its parent, has not reaped it yet.
        QVERIFY(!Shell::ProcessExists(query));
        QCOMPARE(ProcHelper::FindProcessId(query), 0UL);
        QVERIFY(children.front()->waitForFinished());
        children.clear();
    }
}

void TestProcesses::wait()
{
    Start(100);
    QCOMPARE(Shell::ProcessWait(name, -2), 0); // No limit.
    Start(aMinute);
    Start(100);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(Shell::ProcessWait(name, 500), 1);
    QVERIFY(timer.elapsed() >= 500);
    QVERIFY(Shell::ProcessExists(name));
}

void TestProcesses::noMoreThanSixtyFour()
{
    Start(aMinute, 66);
    QCOMPARE(Shell::ProcessWait(name, 0), 1);
    QCOMPARE(Shell::ProcessKill(name), 0);
    QTRY_COMPARE(Running(), 2);
}

void TestProcesses::startDetached()
{
    for (const QString& none : {dir->filePath("none"), QString(), dir->path()}) {
        QVERIFY2(!Shell::ProcessStartDetached(none, {}, ""), qPrintable(none));
    }
    QVERIFY(!Shell::ProcessStartDetached(program, {}, dir->filePath("none")));
#ifdef Q_OS_UNIX
    QCOMPARE(dup2(STDOUT_FILENO, 500), 500); // Spawning opens lower descriptor numbers.
#endif
    const QString work = QFileInfo(dir->path()).canonicalFilePath();
    QVERIFY(Shell::ProcessStartDetached(program, {"60000", "a b"}, work));
    QTRY_VERIFY(Shell::ProcessExists(program));
#ifdef Q_OS_UNIX
    close(500);
    QVERIFY2(waitpid(-1, nullptr, WNOHANG) < 0, "it would stay as a zombie");
    const unsigned long id = ProcHelper::FindProcessId(name);
    QVERIFY2(getsid(static_cast<pid_t>(id)) != getsid(0), "it does not go down with our terminal");
    const QDir process(QString("/proc/%1").arg(id));
    QCOMPARE(QDir(process.filePath("fd")).entryList(QDir::System | QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList({"0", "1", "2"}));
    QCOMPARE(QFile::symLinkTarget(process.filePath("cwd")), work);
    QVERIFY(filetree::Read(process.filePath("cmdline")).endsWith(QByteArray("\0a b\0", 5)));
    QVERIFY(QFile::remove(program));
    QVERIFY2(Shell::ProcessExists(program), "an update has replaced its image");
#endif
    QCOMPARE(Shell::ProcessKill(name), 0);
}

#ifdef Q_OS_UNIX
/// From now on, this process and its children get the given seccomp result for the system call.
static bool FilterCall(unsigned int number, unsigned int result)
{
    sock_filter code[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                          BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, number, 0, 1),
                          BPF_STMT(BPF_RET | BPF_K, result), BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
    const sock_fprog filter{4, code};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

// The child that starts the program is killed at its first call of close_range.
void TestProcesses::startKilled()
{
    const pid_t child = fork();
    if (child == 0) {
        const bool filtered = FilterCall(SYS_close_range, SECCOMP_RET_KILL_PROCESS);
        _exit(filtered && !Shell::ProcessStartDetached(program, {"0"}, "") ? 0 : 1);
    }
    int status = -1;
    QCOMPARE(waitpid(child, &status, 0), child);
    QCOMPARE(status, 0);
}

void TestProcesses::waitDespiteSignals()
{
    Start(aMinute);
    static_cast<void>(std::signal(SIGALRM, [](int) {}));
    const auto setInterval = [](suseconds_t microseconds) {
        const itimerval timer{{0, microseconds}, {0, microseconds}};
        setitimer(ITIMER_REAL, &timer, nullptr);
    };
    setInterval(50);
    const auto stop = qScopeGuard([&] { setInterval(0); });
    QCOMPARE(Shell::ProcessWait(name, 500), 1);
}

void TestProcesses::firstThreadThatHasEnded()
{
    Start(-aMinute);
    const QString status = QString("/proc/%1/status").arg(children.front()->processId());
    QTRY_VERIFY(filetree::Read(status).contains("State:\tZ"));
    QVERIFY(Shell::ProcessExists(name));
    QCOMPARE(Shell::ProcessKill(name), 0);
    QVERIFY(children.front()->waitForFinished());
}

// A thread is not a process. Kernels disagree about the error of pidfd_open for it.
void TestProcesses::idOfThread()
{
    std::promise<void> end;
    std::promise<pid_t> id;
    std::thread thread([&] {
        id.set_value(static_cast<pid_t>(syscall(SYS_gettid)));
        end.get_future().wait();
    });
    ProcHelper::Terminate(static_cast<unsigned long>(id.get_future().get()));
    end.set_value();
    thread.join();
    QVERIFY(log.lines.empty());
}

void TestProcesses::processOfAnotherUser()
{
    constexpr uid_t anotherUser = 65534;
    Start(aMinute);
    if (setresuid(anotherUser, anotherUser, 0) != 0) {
        QSKIP("only root can become another user");
    }
    const auto restore = qScopeGuard([] { static_cast<void>(setresuid(0, 0, 0)); });
    QVERIFY(Shell::ProcessExists(name)); // The kernel's name.
    QVERIFY(!Shell::ProcessExists(program));
    QCOMPARE(Shell::ProcessWait(name, 50), 1);
    QCOMPARE(Shell::ProcessKill(name), 0);
    ProcHelper::Terminate(static_cast<unsigned long>(children.front()->processId()));
    QCOMPARE(Running(), 1);
}

// Blocks pidfd_open, as if the kernel were older than 5.3. That cannot be undone, so this test runs last.
void TestProcesses::withoutPidfd()
{
    QVERIFY(FilterCall(SYS_pidfd_open, SECCOMP_RET_ERRNO | ENOSYS));
    QVERIFY(log.lines.empty());
    for (const auto test : {&TestProcesses::namesAndIds, &TestProcesses::matching, &TestProcesses::wait,
                            &TestProcesses::processOfAnotherUser}) {
        (this->*test)();
        cleanup();
    }
    QCOMPARE(log.lines.size(), 1U);
    QCOMPARE(log.lines.front().level, common::logger::Warn);
}
#endif

QTEST_GUILESS_MAIN(TestProcesses)
#include "tst_processes.moc"

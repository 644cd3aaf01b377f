#include <common/shell/prochelper.h>
#include <common/shell/shell.h>

#include <logger/recordinglogger.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <limits>
#include <memory>
#include <vector>

#ifdef Q_OS_WIN
#include <io.h>
#include <qt_windows.h>
#else
#include <csignal>
#include <fcntl.h>
#endif

using common::Shell;
using tools::process::ProcHelper;

namespace
{

constexpr int aMinute = 60000;

// What ends a process, and what lets children have an open file; they know it by the result.
#ifdef Q_OS_WIN
constexpr int killedCode = 1;
constexpr int terminatedCode = 0;

qint64 MakeInheritable(int descriptor)
{
    const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
    SetHandleInformation(handle, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
    return reinterpret_cast<qint64>(handle);
}
#else
constexpr int killedCode = SIGKILL;
constexpr int terminatedCode = SIGKILL;

qint64 MakeInheritable(int descriptor)
{
    constexpr int farAway = 500; // Once more, far from what the spawning opens itself.
    return fcntl(descriptor, F_SETFD, 0) == 0 ? fcntl(descriptor, F_DUPFD, farAway) : -1;
}
#endif

} // namespace

class TestProcesses : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { children.clear(); }
    void nothingMatches();
    void matching();
    void wait();
    void noMoreThanSixtyFour();
    void helper();
    void modules();
    void startDetached();
    void logIsSilent();

private:
    void Start(int lifetime, std::size_t count = 1);
    std::size_t Running();

    std::unique_ptr<QTemporaryDir> dir;
    QString program; ///< A copy of the child under a name that nothing else has.
    QString name;
    std::vector<std::unique_ptr<QProcess>> children;
    RecordingLogger log;
};

void TestProcesses::init()
{
    static int number = 0;
    dir = std::make_unique<QTemporaryDir>();
    const QString suffix = QStringLiteral(CHILD_PROGRAM).endsWith(".exe") ? ".exe" : "";
    name = QString("vxchild%1-%2").arg(QCoreApplication::applicationPid()).arg(++number) + suffix;
    program = QDir::toNativeSeparators(QFileInfo(dir->path()).canonicalFilePath() + u'/' + name);
    QVERIFY(QFile::copy(QStringLiteral(CHILD_PROGRAM), program));
}

void TestProcesses::Start(int lifetime, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        children.push_back(std::make_unique<QProcess>());
        children.back()->start(program, {QString::number(lifetime)});
    }
    const auto hasStarted = [](QProcess& child) {
        return child.state() == QProcess::Running || child.waitForStarted();
    };
    for (const auto& child : children) {
        if (!hasStarted(*child)) {
            child->start(); // Wine was seen to refuse one of a hundred.
        }
        QVERIFY2(hasStarted(*child), qPrintable(child->errorString()));
    }
}

std::size_t TestProcesses::Running()
{
    std::size_t count = 0;
    for (const auto& child : children) {
        count += child->state() != QProcess::NotRunning && !child->waitForFinished(10) ? 1U : 0U;
    }
    return count;
}

void TestProcesses::nothingMatches()
{
    Start(aMinute);
    const QStringList queries{"",          "no such process.exe", "vxchild", "/no/such/" + name,
                              "./" + name, dir->path() + u'/'};
    for (const QString& query : queries) {
        QVERIFY2(!Shell::ProcessExists(query), qPrintable(query));
        QCOMPARE(Shell::ProcessWait(query, -1), 0);
        QCOMPARE(Shell::ProcessKill(query), 0);
        QCOMPARE(ProcHelper::FindProcessId(query), 0UL);
    }
    // Ids that are no process of this user's, but groups of them, or none at all.
    for (const unsigned long id : {0UL, 1UL, static_cast<unsigned long>(-1L), 0xFFFFFFFFUL, 0x80000000UL,
                                   std::numeric_limits<unsigned long>::max() - 99}) {
        QVERIFY(ProcHelper::Terminate(id));
    }
    QCOMPARE(Running(), 1U);
}

void TestProcesses::matching()
{
    for (const QString& query :
         {name, name.toUpper(), program, program.toUpper(), QDir::fromNativeSeparators(program)}) {
        QVERIFY2(!Shell::ProcessExists(query), qPrintable(query));
        Start(aMinute);
        QTRY_VERIFY(Shell::ProcessExists(query)); // A process that Windows is still building has no path.
        const auto id = static_cast<unsigned long>(children.front()->processId());
        const bool isName = query.size() == name.size();
        QCOMPARE(ProcHelper::FindProcessId(query), isName ? id : 0);
        QCOMPARE(Shell::ProcessWait(query, 0), 1);
        QCOMPARE(Shell::ProcessKill(query), 0);
        QCOMPARE(Shell::ProcessWait(query, aMinute), 0);
        // Ended, but the parent, this test, has not yet taken note of it.
        QVERIFY(!Shell::ProcessExists(query));
        QCOMPARE(ProcHelper::FindProcessId(query), 0UL);
        QVERIFY(children.front()->waitForFinished());
        QCOMPARE(children.front()->exitCode(), killedCode);
        children.clear();
    }
}

void TestProcesses::wait()
{
    Start(100);
    QCOMPARE(Shell::ProcessWait(name, -2), 0); // That is long.
    Start(aMinute);
    Start(100);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(Shell::ProcessWait(name, 500), 1);
    QVERIFY(timer.elapsed() >= 500 && timer.elapsed() < aMinute);
    QVERIFY(Shell::ProcessExists(name));
}

void TestProcesses::noMoreThanSixtyFour()
{
    constexpr std::size_t count = 100;
    constexpr std::size_t most = 64;
    Start(aMinute, count);
    QCOMPARE(Shell::ProcessKill(name), 0);
    QTRY_COMPARE(Running(), count - most);
    QCOMPARE(Shell::ProcessWait(name, 0), 1);
    QCOMPARE(Shell::ProcessKill(name), 0);
    QTRY_COMPARE(Running(), 0U);
    children.clear();
    Start(50, most);
    QCOMPARE(Shell::ProcessWait(program, -1), 0);
    QVERIFY(!Shell::ProcessExists(name));
}

void TestProcesses::helper()
{
    Start(aMinute, 2);
    const auto id = static_cast<unsigned long>(children[0]->processId());
    const auto secondId = static_cast<unsigned long>(children[1]->processId());
    const auto ownId = static_cast<unsigned long>(QCoreApplication::applicationPid());
    const unsigned long found = ProcHelper::FindChildProcessId(ownId, name.toUpper());
    QVERIFY(found == id || found == secondId);
    QCOMPARE(ProcHelper::FindProcessId(name), found);
    QCOMPARE(ProcHelper::FindChildProcessId(id, name), 0UL);
    QCOMPARE(ProcHelper::FindChildProcessId(ownId, "other" + name), 0UL);

    QVERIFY(ProcHelper::Terminate(id));
    QVERIFY(children[0]->waitForFinished());
    QCOMPARE(children[0]->exitCode(), terminatedCode);
    QVERIFY2(ProcHelper::Terminate(id), "an id that stands for nothing any more");
    QCOMPARE(ProcHelper::FindProcessId(name), secondId);
}

void TestProcesses::modules()
{
    const QString executable = QDir::toNativeSeparators(QCoreApplication::applicationFilePath());
    const QString own = QFileInfo(executable).fileName();
    const QStringList all = Shell::ProcessModules("");
    QVERIFY(all.size() > 3);
    QCOMPARE(all.first().toLower(), executable.toLower());
    QCOMPARE(Shell::ProcessModules(own), QStringList{all.first()});
    QCOMPARE(Shell::ProcessModules(own.toUpper()), QStringList());
    for (const QString& path : all) {
        QVERIFY2(QFileInfo(path).isFile(), qPrintable(path));
    }
}

void TestProcesses::startDetached()
{
    QFile inheritable(dir->filePath("inheritable"));
    QVERIFY(inheritable.open(QIODevice::WriteOnly));
    const QString handle = QString::number(MakeInheritable(inheritable.handle()));
    const QString work = dir->filePath("wo rk");
    QVERIFY(QDir().mkpath(work));
    QFile report(dir->filePath("report a b"));
    QVERIFY(Shell::ProcessStartDetached(program, {"0", report.fileName(), handle}, work));
    QTRY_VERIFY(report.exists());
    QVERIFY(report.open(QIODevice::ReadOnly | QIODevice::Text));
    const QStringList lines = QString::fromUtf8(report.readAll()).split(u'\n');
    QCOMPARE(QDir(lines.first()), QDir(QFileInfo(work).canonicalFilePath()));
    QCOMPARE(lines.value(1), "closed");

    for (const QString& none :
         {dir->filePath("none"), QString("no such program"), QString(), inheritable.fileName()}) {
        QVERIFY2(!Shell::ProcessStartDetached(none, {}, ""), qPrintable(none));
    }
    QVERIFY(!Shell::ProcessStartDetached(program, {}, dir->filePath("none")));
}

void TestProcesses::logIsSilent()
{
    // But for one line, on a system that has no pidfd.
    QCOMPARE(log.lines.size(), qEnvironmentVariableIsSet("TEST_WITHOUT_PIDFD") ? 1U : 0U);
    QVERIFY(log.lines.empty() || log.lines.front().level == common::logger::Warn);
}

QTEST_GUILESS_MAIN(TestProcesses)
#include "tst_processes.moc"

#include <common/shell/prochelper.h>
#include <common/shell/shell.h>

#include <logger/recordinglogger.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
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
#include <fcntl.h>
#endif

using common::Shell;
using tools::process::ProcHelper;

namespace
{

constexpr int aMinute = 60000;
constexpr std::size_t maxProcesses = 64;

/// Lets children have an open file; returns what they would know it by.
qint64 MakeInheritable(int descriptor)
{
#ifdef Q_OS_WIN
    const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
    SetHandleInformation(handle, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
    return reinterpret_cast<qint64>(handle);
#else
    fcntl(descriptor, F_SETFD, 0);
    return descriptor;
#endif
}

} // namespace

class TestProcesses : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void nothingMatches_data();
    void nothingMatches();
    void matching_data();
    void matching();
    void wait_data();
    void wait();
    void waitWithoutEnd();
    void kill();
    void noMoreThanSixtyFour();
    void helper();
    void helperSparesGroups_data();
    void helperSparesGroups();
    void modules();
    void startDetached();
    void startDetachedFails();
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
    name = QStringLiteral("vxchild%1-%2%3").arg(QCoreApplication::applicationPid()).arg(++number).arg(suffix);
    program = QDir::toNativeSeparators(QFileInfo(dir->path()).canonicalFilePath() + u'/' + name);
    QVERIFY(QFile::copy(QStringLiteral(CHILD_PROGRAM), program));
}

void TestProcesses::cleanup()
{
    for (const auto& child : children) {
        child->kill();
        child->waitForFinished();
    }
    children.clear();
}

void TestProcesses::Start(int lifetime, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        children.push_back(std::make_unique<QProcess>());
        children.back()->start(program, {QString::number(lifetime)});
    }
    for (const auto& child : children) {
        QVERIFY(child->state() == QProcess::Running || child->waitForStarted());
    }
}

std::size_t TestProcesses::Running()
{
    std::size_t count = 0;
    for (const auto& child : children) {
        if (child->state() != QProcess::NotRunning && !child->waitForFinished(10)) {
            ++count;
        }
    }
    return count;
}

void TestProcesses::nothingMatches_data()
{
    QTest::addColumn<QString>("query");

    QTest::newRow("empty") << "";
    QTest::newRow("unknown name") << "no such process.exe";
    QTest::newRow("part of a name") << "vxchild";
    QTest::newRow("unknown path") << "/no/such/NAME";
    QTest::newRow("name with a directory that is not the image's") << "./NAME";
    QTest::newRow("directory of the image") << "DIR/";
}

void TestProcesses::nothingMatches()
{
    QFETCH(QString, query);

    Start(aMinute);
    query.replace("NAME", name);
    query.replace("DIR", dir->path());
    QElapsedTimer timer;
    timer.start();
    QVERIFY(!Shell::ProcessExists(query));
    QCOMPARE(Shell::ProcessWait(query, aMinute), 0);
    QCOMPARE(Shell::ProcessKill(query), 0);
    QCOMPARE(Running(), 1U);
    QVERIFY(timer.elapsed() < aMinute);
    QCOMPARE(ProcHelper::FindProcessId(query), 0UL);
}

void TestProcesses::matching_data()
{
    QTest::addColumn<QString>("query");
    QTest::addColumn<bool>("isName");

    QTest::newRow("name") << "NAME" << true;
    QTest::newRow("name in another case") << "UPPERNAME" << true;
    QTest::newRow("path") << "PATH" << false;
    QTest::newRow("path in another case") << "UPPERPATH" << false;
    QTest::newRow("path with forward slashes") << "SLASHPATH" << false;
}

void TestProcesses::matching()
{
    QFETCH(QString, query);
    QFETCH(bool, isName);

    const std::pair<const char*, QString> queries[] = {{"SLASHPATH", QDir::fromNativeSeparators(program)},
                                                       {"UPPERPATH", program.toUpper()},
                                                       {"UPPERNAME", name.toUpper()},
                                                       {"PATH", program},
                                                       {"NAME", name}};
    for (const auto& [key, value] : queries) {
        query.replace(key, value);
    }
    QVERIFY(!Shell::ProcessExists(query));
    Start(aMinute);
    QTRY_VERIFY(Shell::ProcessExists(query)); // A process that Windows is still building has no path.
    const auto id = static_cast<unsigned long>(children.front()->processId());
    QCOMPARE(ProcHelper::FindProcessId(query), isName ? id : 0);
    QCOMPARE(Shell::ProcessWait(query, 0), 1);
    QCOMPARE(Shell::ProcessKill(query), 0);
    QCOMPARE(Shell::ProcessWait(query, aMinute), 0);
    // Ended, but the parent, this test, has not yet taken note of it.
    QVERIFY(!Shell::ProcessExists(query));
    QCOMPARE(ProcHelper::FindProcessId(query), 0UL);
}

void TestProcesses::wait_data()
{
    QTest::addColumn<int>("lifetime");
    QTest::addColumn<int>("otherLifetime");
    QTest::addColumn<int>("timeout");
    QTest::addColumn<int>("result");

    QTest::newRow("all end") << 100 << 300 << aMinute << 0;
    QTest::newRow("one goes on") << 100 << aMinute << 500 << 1;
    QTest::newRow("none ends") << aMinute << aMinute << 100 << 1;
    QTest::newRow("without end") << 100 << 300 << -1 << 0;
    QTest::newRow("other negative numbers are long") << 100 << 300 << -2 << 0;
}

void TestProcesses::wait()
{
    QFETCH(int, lifetime);
    QFETCH(int, otherLifetime);
    QFETCH(int, timeout);
    QFETCH(int, result);

    Start(lifetime);
    Start(otherLifetime);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(Shell::ProcessWait(name, timeout), result);
    QVERIFY(result == 0 || timer.elapsed() >= timeout);
    QVERIFY(timer.elapsed() < aMinute);
    QCOMPARE(Shell::ProcessExists(name), result != 0);
}

void TestProcesses::waitWithoutEnd()
{
    Start(50, maxProcesses);
    QCOMPARE(Shell::ProcessWait(program, -1), 0);
    QVERIFY(!Shell::ProcessExists(name));
}

void TestProcesses::kill()
{
    Start(aMinute, 3);
    QCOMPARE(Shell::ProcessKill(name), 0);
    for (const auto& child : children) {
        QVERIFY(child->waitForFinished());
        // What TerminateProcess was told on Windows, the number of SIGKILL on Linux.
        QCOMPARE(child->exitCode(), program.endsWith(".exe") ? 1 : 9);
    }
}

void TestProcesses::noMoreThanSixtyFour()
{
    constexpr std::size_t count = 100;
    Start(aMinute, count);
    QCOMPARE(Shell::ProcessKill(name), 0);
    QTRY_COMPARE(Running(), count - maxProcesses);
    QCOMPARE(Shell::ProcessWait(name, 0), 1);
    QCOMPARE(Shell::ProcessKill(name), 0);
    QTRY_COMPARE(Running(), 0U);
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
    QCOMPARE(children[0]->exitCode(), program.endsWith(".exe") ? 0 : 9);
    QVERIFY2(ProcHelper::Terminate(id), "an id that stands for nothing any more");
    QCOMPARE(ProcHelper::FindProcessId(name), secondId);
}

void TestProcesses::helperSparesGroups_data()
{
    QTest::addColumn<unsigned long>("id");

    QTest::newRow("own group") << 0UL;
    QTest::newRow("init") << 1UL;
    QTest::newRow("all processes") << static_cast<unsigned long>(-1L);
    QTest::newRow("another group") << std::numeric_limits<unsigned long>::max() - 99;
    QTest::newRow("32-bit minus one") << 0xFFFFFFFFUL;
    QTest::newRow("too large") << 0x80000000UL;
}

void TestProcesses::helperSparesGroups()
{
    QFETCH(unsigned long, id);

    Start(aMinute);
    QVERIFY(ProcHelper::Terminate(id));
    QCOMPARE(Running(), 1U);
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
    QCOMPARE(Shell::ProcessModules("vxcommon").filter("libvxcommon.so").size() +
                 Shell::ProcessModules("vxcommon.dll").size(),
             1);
    for (const QString& path : all) {
        QVERIFY2(QFileInfo(path).isFile(), qPrintable(path));
    }
}

void TestProcesses::startDetached()
{
    // A file that a child may inherit.
    QFile file(dir->filePath("inheritable"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    const QString handle = QString::number(MakeInheritable(file.handle()));
    const QString work = dir->filePath("wo rk");
    QVERIFY(QDir().mkpath(work));
    QVERIFY(Shell::ProcessStartDetached(program, {"0", dir->filePath("report a b"), handle}, work));
    QTRY_VERIFY(QFileInfo::exists(dir->filePath("report a b")));
    QFile report(dir->filePath("report a b"));
    QVERIFY(report.open(QIODevice::ReadOnly | QIODevice::Text));
    const QStringList lines = QString::fromUtf8(report.readAll()).split(u'\n', Qt::SkipEmptyParts);
    QCOMPARE(QDir(lines.first()), QDir(QFileInfo(work).canonicalFilePath()));
    QVERIFY2(lines.size() == 1 || lines.mid(1) == QStringList({"0", "1", "2"}), qPrintable(lines.join(u' ')));
}

void TestProcesses::startDetachedFails()
{
    QVERIFY(!Shell::ProcessStartDetached(dir->filePath("none"), {}, ""));
    QVERIFY(!Shell::ProcessStartDetached("no such program", {}, ""));
    QVERIFY(!Shell::ProcessStartDetached("", {}, ""));
    QVERIFY(!Shell::ProcessStartDetached(program, {}, dir->filePath("none")));
    QFile text(dir->filePath("text"));
    QVERIFY(text.open(QIODevice::WriteOnly));
    text.close();
    QVERIFY(!Shell::ProcessStartDetached(text.fileName(), {}, ""));
}

void TestProcesses::logIsSilent()
{
    // But for one line, on a system that has no pidfd.
    QCOMPARE(log.lines.size(), qEnvironmentVariableIsSet("TEST_WITHOUT_PIDFD") ? 1U : 0U);
    QVERIFY(log.lines.empty() || log.lines.front().level == common::logger::Warn);
}

QTEST_GUILESS_MAIN(TestProcesses)
#include "tst_processes.moc"

#include "files/filetree.h"

#include <common/logger/logger.h>

#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <array>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace logger = common::logger;

// The channel declared in this namespace hides the default channel.
namespace backendtest
{

namespace
{

constexpr logger::Channel logChannel{"test.backend"};

/// Arguments of Configure with default values, so that a test sets only the relevant ones.
struct Setup
{
    unsigned int targets = logger::Target::RollingFile;
    unsigned int options = logger::Option::PatternLayout;
    QString pattern = "%m%n";
    QString configFile;
    QString logFile;
    QString shortLogFile;
    std::size_t maxFileSize = 100000000;
    int maxBackups = 1;

    bool Apply() const
    {
        return logger::GetLogger()->Configure(logger::Debug, targets, options, pattern, {}, configFile,
                                              logFile, shortLogFile, maxFileSize, maxBackups);
    }
};

/// Returns the content of a log file, converted to Unix line endings.
QByteArray ReadLog(const QString& path)
{
    return filetree::Read(path).replace("\r\n", "\n");
}

void LogOnMain(const char* text, int times = 1)
{
    const logger::Channel channel{"main.window"};
    for (; times > 0; --times) {
        logger::Message(logger::GetLogger(), &channel, logger::Info, "f.cpp", "n::F", 7).GetStream() << text;
    }
}

} // namespace

class TestLog4cpp : public QObject
{
    Q_OBJECT

    QString File(const QString& name) const { return dir->filePath(name); }

    std::unique_ptr<QTemporaryDir> dir;
    Setup setup;

private Q_SLOTS:
    void init();
    void lineForms();
    void files();
    void levels();
    void changesOnTheWay();
    void badPlaces();
#ifdef Q_OS_WIN
    void logOpenElsewhere();
#endif
    void startedProgram();
    void threadsIntoOneRollingFile();
    void channels();
    void configurationFileAndConsole();
    void linesAtExit();
};

void TestLog4cpp::init()
{
    logger::SetLogger(logger::GetLog4cpp());
    // Close the logs first, because Windows does not remove a directory with open files.
    logger::GetLogger()->SetFileLoggingEnabled(false);
    dir = std::make_unique<QTemporaryDir>();
    setup = Setup();
    setup.logFile = File("a.log");
    setup.shortLogFile = File("b.log");
}

void TestLog4cpp::lineForms()
{
    const auto verify = [this](unsigned int options, const QString& pattern, const QString& form) {
        init();
        setup.options = options;
        setup.pattern = pattern;
        QVERIFY(setup.Apply());
        LogOnMain("téxt");
        const QByteArray line = ReadLog(setup.logFile);
        QVERIFY2(QRegularExpression('^' + form + "\n$").match(line).hasMatch(), line);
        LOG_MESSAGE(logger::Info) << "not for the short log";
        QCOMPARE(ReadLog(setup.shortLogFile), line);
    };
    verify(256, "", R"(\d{4}\.m\.\d\d \d\d:\d\d:\d\d\.\d{3}   INFO \[ *\d+\] main\.window: téxt)");
    verify(256 + 3, "%p %m%n", R"(INFO téxt \(n::F: file: f\.cpp\(7\)\))");
    verify(512 + 1024, "", R"(\d+ INFO main\.window : téxt)");
    verify(512, "", "INFO +: téxt");
}

// The names use letters that are missing from the Western code pages of Windows.
void TestLog4cpp::files()
{
    const QByteArray line = "a line of twenty bytes\n";
    const QDir folder(File("Журнал"));
    const auto filesAfterManyLines = [&](unsigned int targets, const QString& name, int maxBackups) {
        setup.targets = targets;
        setup.logFile = folder.filePath(name);
        setup.maxBackups = maxBackups;
        setup.Apply();
        LogOnMain(line.trimmed(), 12);
        return folder.entryList({name + '*'}, QDir::Files, QDir::Name);
    };
    setup.shortLogFile = folder.filePath("короткий.log");
    setup.maxFileSize = 20;
    filetree::Write(folder.filePath("простой.log"), "earlier\n");
    QCOMPARE(filesAfterManyLines(logger::Target::File, "простой.log", 1), QStringList("простой.log"));
    QCOMPARE(ReadLog(setup.logFile), "earlier\n" + line.repeated(12));
    // The short log does not depend on the targets.
    QCOMPARE(folder.entryList({"короткий.log*"}, QDir::Files).size(), 2);
    QCOMPARE(ReadLog(setup.shortLogFile + ".1"), line);
    QCOMPARE(filesAfterManyLines(logger::Target::File | logger::Target::RollingFile, "мало.log", -1),
             QStringList({"мало.log", "мало.log.1"}));
    const QStringList files = filesAfterManyLines(logger::Target::RollingFile, "весь.log", 10);
    QCOMPARE(files.size(), 11);
    QCOMPARE(files.last(), "весь.log.10");
    QCOMPARE(ReadLog(setup.logFile + ".01"), line);
}

void TestLog4cpp::levels()
{
    setup.pattern = "%p %m ";
    setup.Apply();
    for (const int threshold : {logger::Fatal, logger::Error, logger::NotSet}) {
        logger::GetLogger()->SetLevel(threshold);
        for (int i = logger::Fatal; i <= logger::NotSet; ++i) {
            LOG_MESSAGE(i) << i;
        }
    }
    // The name of the highest priority, EMERG or FATAL, depends on the build of log4cpp.
    QCOMPARE(ReadLog(setup.logFile).replace("EMERG", "FATAL"),
             "FATAL 0 FATAL 0 ALERT 1 CRIT 2 ERROR 3 "
             "FATAL 0 ALERT 1 CRIT 2 ERROR 3 WARN 4 NOTICE 5 INFO 6 DEBUG 7 ");
}

void TestLog4cpp::changesOnTheWay()
{
    logger::ILogger* log = logger::GetLogger();
    setup.Apply();
    LogOnMain("1");
    log->SetFileLoggingEnabled(false);
    log->SetFileLoggingEnabled(false);
    LogOnMain("2");
    // On Windows, this would fail if the file were still open.
    QVERIFY(QFile::remove(setup.logFile));
    log->SetFileLoggingEnabled(true);
    LogOnMain("3");
    QCOMPARE(ReadLog(setup.shortLogFile), "1\n3\n");

    // A second call to Configure switches to the new log file.
    setup.logFile = File("c.log");
    setup.Apply();
    LogOnMain("4");
    QCOMPARE(ReadLog(File("a.log")), "3\n");

    // A call of Configure with an invalid pattern keeps the current files.
    setup.logFile = setup.shortLogFile = File("d.log");
    setup.pattern = "%m%Q%n";
    QVERIFY(setup.Apply());
    LogOnMain("5");
    QCOMPARE(ReadLog(File("b.log")) + ReadLog(File("c.log")), "1\n3\n4\n5\n4\n5\n");
    // If the target is the console, log4cpp's exception for the invalid pattern reaches the caller.
    setup.targets = logger::Target::Console;
    QVERIFY_THROWS_EXCEPTION(std::exception, setup.Apply());
}

void TestLog4cpp::badPlaces()
{
    QStringList places{"no/such/folder/a.log", ".", "vanishing/a.log"};
#ifdef Q_OS_UNIX
    places << "/dev/full";
#endif
    for (const QString& place : places) {
        init();
        const Setup good = setup;
        setup.maxFileSize = 10;
        setup.logFile = setup.shortLogFile = File(place);
        QVERIFY(QDir().mkdir(File("vanishing")));
        QVERIFY(setup.Apply());
        QDir(File("vanishing")).removeRecursively(); // Fails on Windows, because the log is open.
        LogOnMain("a line that nobody will read", 100);
        logger::GetLogger()->SetFileLoggingEnabled(false);
        logger::GetLogger()->SetFileLoggingEnabled(true);
        LogOnMain("nor this one");

        good.Apply();
        LogOnMain("recovered");
        QCOMPARE(ReadLog(good.logFile) + ReadLog(good.shortLogFile), "recovered\nrecovered\n");
    }
}

#ifdef Q_OS_WIN
// Another program that has the log open prevents the log from being renamed. No line and no backup must be
// lost.
void TestLog4cpp::logOpenElsewhere()
{
    setup.logFile = File("100%1.log");
    setup.maxFileSize = 1;
    setup.maxBackups = 4;
    setup.Apply();
    LogOnMain("1");
    LogOnMain("2");
    QFile viewer(setup.logFile);
    QVERIFY(viewer.open(QIODevice::ReadOnly));
    LogOnMain("3");
    LogOnMain("4");
    viewer.close();
    LogOnMain("5");
    const QStringList backups = filetree::Snapshot(dir->path()).filter("100%1.log.");
    QCOMPARE(backups.join("").remove('\r'), "100%1.log.1=3\n4\n5\n100%1.log.2=2\n100%1.log.3=1\n");
}
#endif

// A started program inherits no log file. A private log stays private after a rollover.
void TestLog4cpp::startedProgram()
{
    QVERIFY(QFile(setup.logFile).open(QIODevice::WriteOnly, QFile::ReadOwner | QFile::WriteOwner));
    setup.maxFileSize = 10;
    setup.Apply();
    LOG_MESSAGE(logger::Info) << "rolls over only the main log";
    QProcess program;
    program.start(CHILD_PROGRAM, {"end fatally"});
    program.setReadChannel(QProcess::StandardError);
    QVERIFY(program.waitForReadyRead(60000));
#ifdef Q_OS_WIN
    // If the program had inherited the handles, the files could not be removed while it runs.
    logger::GetLogger()->SetFileLoggingEnabled(false);
    const bool isInherited = !QFile::remove(setup.logFile) || !QFile::remove(setup.shortLogFile);
#else
    const QStringList descriptors = filetree::Snapshot(QString("/proc/%1/fd").arg(program.processId()));
    const bool isInherited = descriptors.isEmpty() || !descriptors.filter(dir->path()).isEmpty();
    QVERIFY(!QFile::permissions(setup.logFile).testFlag(QFile::ReadOther));
#endif
    program.closeWriteChannel();
    QVERIFY(program.waitForFinished(60000));
    QVERIFY(!isInherited);
    // The line passes through Qt's logging and the library's handler, but has only one time stamp.
    const QString line = QString::fromUtf8(program.readAllStandardError());
    static const QRegularExpression time(R"(\d\d:\d\d:\d\d\.\d{3}:)");
    QVERIFY2(line.contains("by default"), qPrintable(line));
    QCOMPARE(line.count(time), 1);
    QCOMPARE(program.exitStatus(), QProcess::CrashExit);
    QCOMPARE(program.readAllStandardOutput().trimmed(), "last message");
}

void TestLog4cpp::threadsIntoOneRollingFile()
{
    setup.maxFileSize = 5000;
    setup.maxBackups = 99;
    setup.Apply();
    std::array<std::thread, 16> threads;
    for (std::thread& thread : threads) {
        thread = std::thread([] { LogOnMain("line", 1000); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const QStringList files = QDir(dir->path()).entryList({"a.log*"});
    QVERIFY2(files.size() > 5, "the test needs many rollovers");
    QByteArray text;
    for (const QString& file : files) {
        text += ReadLog(dir->filePath(file));
    }
    QCOMPARE(text, QByteArray("line\n").repeated(16000));
}

void TestLog4cpp::channels()
{
    setup.pattern = "[%c] %m%n";
    setup.Apply();
    const logger::Channel nameless{nullptr};
    logger::ILogger* log = logger::GetLogger();
    logger::Message(log, nullptr, logger::Info, nullptr, nullptr, 0).GetStream() << "no channel";
    logger::Message(log, &nameless, logger::Info, nullptr, nullptr, 0).GetStream() << "no name";
    LOG_MESSAGE(logger::Info) << "own channel";
    static constexpr logger::Channel similar{"best.backend"};
    LOG_MESSAGE_ON(similar, logger::Info) << "similar channel";
    QCOMPARE(ReadLog(setup.logFile),
             "[] no channel\n[test.backend] own channel\n[best.backend] similar channel\n");
}

// Must be the last test in this process, because the console appender stays attached to the root category.
void TestLog4cpp::configurationFileAndConsole()
{
    // The path is so long that Windows has no usable short name for it.
    setup.configFile = dir->filePath(QString("Журнал/").repeated(40) + "настройки.properties");
    QVERIFY(!logger::GetLogger()->LoadConfiguration(setup.configFile));
    filetree::Write(setup.configFile, "rootCategory=DEBUG, A\nappender.A=NoSuchAppender\n");
    QVERIFY(!logger::GetLogger()->LoadConfiguration(setup.configFile));
    filetree::Write(setup.configFile, "rootCategory=WARN, A\ncategory.main=FATAL\nappender.A=FileAppender\n"
                                      "appender.A.layout=SimpleLayout\nappender.A.fileName=" +
                                          File("configured.log").toLocal8Bit());
    setup.options |= logger::Option::ShowSource;
    QVERIFY(setup.Apply());
    LOG_MESSAGE(logger::Warn) << "warning";
    LOG_MESSAGE(logger::Info) << "filtered by the file";
    const QByteArray text = ReadLog(File("configured.log"));
    QVERIFY2(text.contains(": warning (file: "), text);
    QCOMPARE(text.count('\n'), 1);
    QVERIFY2(!QFile::exists(setup.logFile), "the file decides everything");

    setup = Setup();
    setup.targets = logger::Target::Console;
    setup.Apply();
    std::ostringstream output;
    std::streambuf* previous = std::cout.rdbuf(output.rdbuf());
    LogOnMain("at the level of Configure again");
    std::cout.rdbuf(previous);
    QCOMPARE(output.str(), "at the level of Configure again\n");
}

void TestLog4cpp::linesAtExit()
{
    QStringList command{CHILD_PROGRAM, "log until exit"};
#ifdef RUN_UNDER_VALGRIND
    // The detached thread keeps its stack, so count only unreachable blocks as leaks.
    command = QStringList{"valgrind", "--quiet", "--error-exitcode=9", "--leak-check=full",
                          "--errors-for-leak-kinds=definite,indirect"} +
              command;
#endif
    QProcess program;
    program.setWorkingDirectory(dir->path());
    program.setProcessChannelMode(QProcess::MergedChannels);
    program.start(command.takeFirst(), command);
    QVERIFY(program.waitForFinished(60000));
    const QByteArray output = program.readAll();
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QVERIFY2(program.exitCode() == 0, output);
    const QByteArray text = ReadLog(File("exit.log"));
    for (const char* line :
         {"ERROR test.backend last words\n", "DEBUG qt.körper debug\n", "DEBUG qt.körper info\n",
          "WARN qt.körper warning\n", "ERROR qt.körper critical\n"}) {
        QVERIFY2(text.contains(line), line);
    }
#ifdef Q_OS_WIN // Functions registered with atexit run before the destructors of a DLL.
    QVERIFY(text.contains("FATAL test.backend too late\n"));
#else
    QVERIFY2(output.contains("too late, says Qt"), "Qt's own handler is back at the end");
    QVERIFY2(output.contains("ERROR test.backend last words\n"), "what a debugger shows on Windows");
    QVERIFY(!text.contains("too late"));
#endif
}

} // namespace backendtest

QTEST_GUILESS_MAIN(backendtest::TestLog4cpp)
#include "tst_log4cpp.moc"

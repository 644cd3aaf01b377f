#include "files/filetree.h"
#include "recordinglogger.h"

#include <common/logger/logger.h>

#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace logger = common::logger;

// A namespace of its own, so that the channel declared in it is found before the default one.
namespace backendtest
{

namespace
{

constexpr logger::Channel logChannel{"test.backend"};

/// The handler that the library installed when it was loaded; QtTest puts its own on top of it.
QtMessageHandler libraryHandler = nullptr;

QByteArray ReadFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The arguments of Configure with harmless values, so that a test names only what it is about.
struct Setup
{
    int level = logger::Debug;
    unsigned int targets = logger::RollingFile;
    unsigned int options = logger::PatternLayout;
    QString pattern = "%m%n";
    QString qtChannel;
    QString configFile;
    QString logFile;
    QString shortLogFile;
    std::size_t maxFileSize = 100000000;
    int maxBackups = 1;

    bool Apply() const
    {
        return logger::GetLogger()->Configure(level, targets, options, pattern, qtChannel, configFile,
                                              logFile, shortLogFile, maxFileSize, maxBackups);
    }
};

void LogOnMain(const char* text, int times = 1)
{
    const logger::Channel channel{"main.window"};
    for (; times > 0; --times) {
        logger::Message(logger::GetLogger(), &channel, logger::Info, "f.cpp", "n::F", 7).GetStream() << text;
    }
}

/// A property file for one log file.
QByteArray ConfiguredFile(const QString& logFile, const char* pattern)
{
    return "rootCategory=WARN, A\ncategory.main=FATAL\nappender.A=FileAppender\nappender.A.fileName=" +
           logFile.toLocal8Bit() +
           "\nappender.A.layout=PatternLayout\nappender.A.layout.ConversionPattern=" + pattern;
}

/// Logs when it dies.
struct Speaker
{
    ~Speaker()
    {
        LOG_MESSAGE(logger::Error) << name << " ends";
        qWarning("%s ends, says Qt", name);
    }

    const char* name;
};

/// Uses loggers that have ended in all ways there are.
struct Latecomer
{
    ~Latecomer()
    {
        logger::ILogger* log = logger::GetLog4cpp();
        LOG_MESSAGE(logger::Fatal) << "too late";
        log->SetLevel(logger::Debug);
        log->Configure(0, logger::Console | logger::RollingFile, 0, {}, {}, {}, {}, "too late", 1000, 1);
        log->SetFileLoggingEnabled(true);
        logger::SetLogger(defaultLogger);
        LOG_MESSAGE(logger::Error) << "too late, by the default logger";
    }

    logger::ILogger* defaultLogger = nullptr;
};

/// Logs to exit.log until the last static destructor, while a thread that nobody stops still logs.
int LogUntilExit()
{
    // Made before the backend exists, so they die after it.
    static Latecomer latecomer;
    static const Speaker early{"early"};
    latecomer.defaultLogger = logger::SetLogger(logger::GetLog4cpp());
    logger::GetLogger()->Configure(logger::Debug, logger::RollingFile | logger::Debugger,
                                   logger::PatternLayout, "%p %c %m%n", "qt.messages", "log.properties",
                                   "exit.log", "short.log", 100000000, 2);
    // Made after the backend, so it dies first.
    static const Speaker late{"late"};
    std::thread([] {
        while (true) {
            LOG_MESSAGE(logger::Warn) << "thread runs";
            std::this_thread::sleep_for(std::chrono::microseconds(1));
        }
    }).detach();
    return 0;
}

} // namespace

class TestLog4cpp : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void lineForms();
    void files();
    void levels();
    void changesOnTheWay();
    void badPlaces();
    void threadsIntoOneRollingFile();
    void channels();
    void configurationFile();
    void console();
    void linesAtExit();

private:
    QString File(const char* name) const { return dir->filePath(name); }

    std::unique_ptr<QTemporaryDir> dir;
    Setup setup;
};

void TestLog4cpp::init()
{
    logger::SetLogger(logger::GetLog4cpp());
    dir = std::make_unique<QTemporaryDir>();
    setup = Setup();
    setup.logFile = File("a.log");
    setup.shortLogFile = File("b.log");
}

void TestLog4cpp::lineForms()
{
    const auto verify = [this](unsigned int options, const QString& pattern, const QString& form) {
        init();
        setup.options = options & ~1U;
        setup.pattern = pattern;
        QVERIFY(setup.Apply());
        logger::GetLogger()->SetSourceShown((options & 1U) != 0);
        LogOnMain("téxt");
        const QByteArray line = ReadFile(setup.logFile);
        QVERIFY2(QRegularExpression('^' + form + "\n$").match(line).hasMatch(), line);
        LOG_MESSAGE(logger::Info) << "not for the short log";
        QVERIFY(ReadFile(setup.logFile).size() > line.size());
        QCOMPARE(ReadFile(setup.shortLogFile), line);
    };
    verify(256, "", R"(\d{4}\.m\.\d\d \d\d:\d\d:\d\d\.\d{3}   INFO \[ *\d+\] main\.window: téxt)");
    verify(256 + 512 + 1024, "%p %c %m%n", "INFO main.window téxt");
    verify(512 + 1024, "", R"(\d+ INFO main\.window : téxt)");
    verify(512, "", "INFO +: téxt");
    verify(0, "", R"(\d+ INFO main\.window : téxt)"); // the default of log4cpp
    verify(256 + 3, "%m%n", R"(téxt \(n::F: file: f\.cpp\(7\)\))");
}

void TestLog4cpp::files()
{
    const auto verify = [this](unsigned int targets, int maxBackups, const QString& files) {
        init();
        setup.targets = targets;
        setup.maxBackups = maxBackups;
        setup.maxFileSize = 100;
        setup.Apply();
        LogOnMain("a line of text", 50);
        QCOMPARE(QDir(dir->path()).entryList(QDir::Files, QDir::Name).join(' '), files);
        // The switch is for both logs, but asks for the main one.
        logger::GetLogger()->SetFileLoggingEnabled(false);
        LogOnMain("switched off");
        QCOMPARE(ReadFile(setup.shortLogFile).contains("switched off"), targets == 0);
    };
    // The short log, b, does not look at the targets and keeps one backup whatever the other log keeps.
    verify(logger::File, 2, "a.log b.log b.log.1");
    verify(logger::File | logger::RollingFile, 3, "a.log a.log.1 a.log.2 a.log.3 b.log b.log.1");
    verify(logger::RollingFile, -1, "a.log a.log.1 b.log b.log.1");
    verify(0, 2, "b.log b.log.1");
}

void TestLog4cpp::levels()
{
    const QString all = "FATAL 0 ALERT 1 CRIT 2 ERROR 3 WARN 4 NOTICE 5 INFO 6 DEBUG 7 ";
    setup.pattern = "%p %m ";
    for (const auto& [level, count] : {std::pair(0, 1), {3, 4}, {7, 8}, {8, 8}, {-1, 8}}) {
        setup.level = level;
        setup.logFile = dir->filePath(QString::number(level));
        setup.Apply();
        QCOMPARE(logger::GetLogger()->GetLevel(), int(logger::NotSet));
        for (int i = logger::Fatal; i <= logger::NotSet; ++i) {
            LOG_MESSAGE(i) << i;
        }
        // log4cpp calls its highest priority EMERG or FATAL, whichever it was built to prefer.
        QCOMPARE(ReadFile(setup.logFile).replace("EMERG", "FATAL"), all.section(' ', 0, 2 * count - 1) + ' ');
    }
}

void TestLog4cpp::changesOnTheWay()
{
    logger::ILogger* log = logger::GetLogger();
    setup.Apply();
    LogOnMain("1");
    const QString descriptors = "/proc/self/fd";
    const auto openFiles = QDir(descriptors).count();
    log->SetFileLoggingEnabled(false);
    log->SetFileLoggingEnabled(false);
    // No log is held open; on Windows the removal tells.
    QVERIFY(openFiles == 0 || QDir(descriptors).count() == openFiles - 2);
    LogOnMain("2");
    QVERIFY(QFile::remove(setup.logFile));
    log->SetFileLoggingEnabled(true);
    LogOnMain("3");
    QCOMPARE(ReadFile(setup.logFile), "3\n");
    QCOMPARE(ReadFile(setup.shortLogFile), "1\n3\n");

    // A second Configure replaces the files.
    setup.logFile = File("c.log");
    setup.Apply();
    LogOnMain("4");
    QCOMPARE(ReadFile(File("a.log")), "3\n");

    // One with a bad pattern does not.
    setup.logFile = setup.shortLogFile = File("d.log");
    setup.pattern = "%m%Q%n";
    QVERIFY(setup.Apply());
    LogOnMain("5");
    QCOMPARE(ReadFile(File("b.log")) + ReadFile(File("c.log")), "1\n3\n4\n5\n4\n5\n");
    // For the console it is the caller's to know.
    setup.targets = logger::Console;
    QVERIFY_EXCEPTION_THROWN(setup.Apply(), std::exception);
}

void TestLog4cpp::badPlaces()
{
    QStringList places{File("no/such/folder/a.log"), dir->path(), File("vanishing/a.log")};
#ifdef Q_OS_LINUX
    places += "/dev/full";
#endif
    const Setup good = setup;
    setup.maxFileSize = 10;
    for (const QString& place : places) {
        for (const unsigned int targets : {4u, 8u}) {
            QVERIFY(QDir(dir->path()).mkdir("vanishing"));
            setup.targets = targets;
            setup.logFile = setup.shortLogFile = place;
            QVERIFY(setup.Apply());
            QVERIFY(QDir(File("vanishing")).removeRecursively());
            LogOnMain("a line that nobody will read", 100);
            logger::GetLogger()->SetFileLoggingEnabled(false);
            logger::GetLogger()->SetFileLoggingEnabled(true);
            LogOnMain("nor this one");

            good.Apply();
            LogOnMain("recovered");
            QVERIFY(ReadFile(good.logFile).endsWith("recovered\n"));
            QVERIFY(QFile::remove(good.logFile));
        }
    }
}

void TestLog4cpp::threadsIntoOneRollingFile()
{
    constexpr int linesEach = 1000;
    setup.pattern = "<%m>%n";
    setup.shortLogFile.clear();
    setup.maxFileSize = 5000;
    setup.maxBackups = 99;
    setup.Apply();
    std::vector<std::thread> threads;
    for (int first = 10000; first < 26000; first += linesEach) {
        threads.emplace_back([first] {
            for (int i = 0; i < linesEach; ++i) {
                LOG_MESSAGE(logger::Info) << first + i;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const QStringList files = QDir(dir->path()).entryList({"a.log*"});
    QVERIFY2(files.size() > 5, "the test needs many rollovers");
    QByteArrayList lines;
    for (const QString& file : files) {
        lines += ReadFile(dir->filePath(file)).chopped(1).split('\n');
    }
    std::sort(lines.begin(), lines.end());
    QCOMPARE(lines.size(), 16 * linesEach);
    for (int i = 0; i < lines.size(); ++i) {
        QCOMPARE(lines.at(i), '<' + QByteArray::number(10000 + i) + '>');
    }
}

void TestLog4cpp::channels()
{
    setup.pattern = "%p [%c] %m%n";
    setup.qtChannel = "qt.k\u00F6rper";
    setup.Apply();
    const logger::Channel nameless{nullptr};
    logger::ILogger* log = logger::GetLogger();
    logger::Message(log, nullptr, logger::Info, nullptr, nullptr, 0).GetStream() << "no channel";
    logger::Message(log, &nameless, logger::Info, nullptr, nullptr, 0).GetStream() << "no name";
    LOG_MESSAGE(logger::Info) << "own channel";
    QCOMPARE(ReadFile(setup.logFile), "INFO [] no channel\nINFO [test.backend] own channel\n");

    const std::pair<QtMsgType, int> types[] = {
        {QtDebugMsg, 7}, {QtInfoMsg, 7}, {QtWarningMsg, 4}, {QtCriticalMsg, 3}, {QtFatalMsg, 2}};
    for (const auto& [type, level] : types) {
        RecordingLogger recorder;
        libraryHandler(type, QMessageLogContext("f.cpp", 3, "n::F", "some.category"), "téxt");
        const auto& line = recorder.lines.at(0);
        QCOMPARE(line.level, level);
        QCOMPARE(line.channel + '|' + line.text.toUtf8(), "qt.körper|téxt");
        QCOMPARE(line.function + '|' + line.file + '|' + QByteArray::number(line.line), "n::F|f.cpp|3");
    }
}

void TestLog4cpp::configurationFile()
{
    setup.configFile = File("a.properties");
    const auto write = [this](const QByteArray& text) {
        filetree::Write(filetree::ToPath(setup.configFile), text);
    };
    QVERIFY(!logger::GetLogger()->LoadConfiguration(setup.configFile));
    write("rootCategory=DEBUG, A\nappender.A=NoSuchAppender\n");
    QVERIFY(!logger::GetLogger()->LoadConfiguration(setup.configFile));
    write(ConfiguredFile(File("configured.log"), "configured %m%n"));
    setup.options |= logger::ShowSource;
    QVERIFY(setup.Apply());
    LOG_MESSAGE(logger::Warn) << "warning";
    LOG_MESSAGE(logger::Info) << "filtered by the file";
    const QByteArray text = ReadFile(File("configured.log"));
    QVERIFY2(text.startsWith("configured warning (file: ") && text.count('\n') == 1, text);
    QVERIFY2(!QFile::exists(setup.logFile), "the file decides everything");
}

// After the property file; and last, since the console appender stays with the root category.
void TestLog4cpp::console()
{
    setup.targets = logger::Console;
    setup.Apply();
    std::ostringstream text;
    std::streambuf* previous = std::cout.rdbuf(text.rdbuf());
    LogOnMain("to the console"); // at the level of Configure again, not of the property file
    setup.Apply();
    LogOnMain("doubled");
    std::cout.rdbuf(previous);
    QCOMPARE(text.str(), "to the console\ndoubled\ndoubled\n");
}

// The test starts itself for it.
void TestLog4cpp::linesAtExit()
{
    const QByteArray configured = ConfiguredFile("exit.log", "%p %c %m%n");
    for (const QByteArray& configuration : {QByteArray("no such property"), configured}) {
        init();
        filetree::Write(filetree::ToPath(File("log.properties")), configuration);
        QStringList command{QCoreApplication::applicationFilePath(), "log until exit"};
#ifdef RUN_UNDER_VALGRIND
        // The thread that is left behind keeps its stack, so only blocks that nothing points to are leaks.
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
        QVERIFY2(program.exitStatus() == QProcess::NormalExit && program.exitCode() == 0, output);
        QVERIFY2(output.contains("early ends, says Qt"), "Qt's own handler is back at the end");

        const QByteArray text = ReadFile(File("exit.log"));
        QVERIFY2(text.contains("ERROR test.backend late ends\n"), "a line before the end of life is written");
        QVERIFY(text.contains("WARN qt.messages late ends, says Qt\n"));
        QVERIFY(!text.contains("early") && !text.contains("too late"));
    }
}

} // namespace backendtest

int main(int argc, char* argv[])
{
    if (argc == 2 && argv[1] == QByteArray("log until exit")) {
        return backendtest::LogUntilExit();
    }
    backendtest::libraryHandler = qInstallMessageHandler(nullptr);
    QCoreApplication application(argc, argv);
    backendtest::TestLog4cpp test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_log4cpp.moc"

#include <common/logger/logger.h>

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

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

constexpr std::size_t largeFile = std::size_t{100} * 1024 * 1024;

QByteArray ReadFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void WriteFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

/// The arguments of Configure with harmless values, so that a test names only what it is about.
struct Setup
{
    int level = logger::Debug;
    unsigned int targets = logger::RollingFile;
    unsigned int options = logger::PatternLayout;
    QString pattern = QStringLiteral("%p %c %m%n");
    QString qtChannel;
    QString configFile;
    QString logFile;
    QString shortLogFile;
    std::size_t maxFileSize = largeFile;
    int maxBackups = 1;

    bool Apply() const
    {
        return logger::GetLogger()->Configure(level, targets, options, pattern, qtChannel, configFile,
                                              logFile, shortLogFile, maxFileSize, maxBackups);
    }
};

void LogOnMain(const char* text)
{
    const logger::Channel channel{"main.window"};
    logger::Message(logger::GetLogger(), &channel, logger::Info, nullptr, nullptr, 0).GetStream() << text;
}

} // namespace

class TestLog4cpp : public QObject
{
    Q_OBJECT

public:
    explicit TestLog4cpp(QtMessageHandler libraryHandler_)
        : libraryHandler(libraryHandler_)
    {}

private Q_SLOTS:
    void initTestCase();
    void init();
    void defaultPattern();
    void sourceSuffix();
    void layouts_data();
    void layouts();
    void plainAndRollingFile_data();
    void plainAndRollingFile();
    void levels_data();
    void levels();
    void shortLog();
    void fileLoggingSwitch();
    void switchNeedsMainLog();
    void secondConfigureReplacesFiles();
    void badPatternKeepsFile();
    void badPlaces_data();
    void badPlaces();
    void vanishingDirectory();
    void negativeBackups();
    void threadsIntoOneRollingFile();
    void channels();
    void qtMessages();
    void configurationFile();
    void console();

private:
    QString File(const char* name) const { return dir->filePath(QLatin1String(name)); }

    std::unique_ptr<QTemporaryDir> dir;
    QtMessageHandler libraryHandler;
};

void TestLog4cpp::initTestCase()
{
    QCOMPARE(logger::GetLog4cpp(), logger::GetLog4cpp());
    logger::SetLogger(logger::GetLog4cpp());
}

void TestLog4cpp::init()
{
    dir = std::make_unique<QTemporaryDir>();
    QVERIFY(dir->isValid());
}

void TestLog4cpp::defaultPattern()
{
    Setup setup;
    setup.pattern.clear();
    setup.logFile = File("a.log");
    QVERIFY(setup.Apply());
    LOG_MESSAGE(logger::Error) << QStringLiteral("t\u00E9xt");

    static const QRegularExpression form(QStringLiteral("^\\d{4}\\.m\\.\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3}  "
                                                        "ERROR \\[ *\\d+\\] test\\.backend: t\u00E9xt\n$"));
    const QString text = QString::fromUtf8(ReadFile(setup.logFile));
    QVERIFY2(form.match(text).hasMatch(), qPrintable(text));
}

void TestLog4cpp::sourceSuffix()
{
    Setup setup;
    setup.logFile = File("a.log");
    setup.pattern = QStringLiteral("%m%n");
    setup.options |= logger::ShowSource | logger::ShowFunction;
    setup.Apply();
    logger::Message(logger::GetLogger(), &logChannel, logger::Info, "f.cpp", "n::F", 7).GetStream() << "text";
    QVERIFY(logger::GetLogger()->IsSourceShown());
    logger::GetLogger()->SetSourceShown(false);
    logger::Message(logger::GetLogger(), &logChannel, logger::Info, "f.cpp", "n::F", 7).GetStream() << "bare";
    QCOMPARE(ReadFile(setup.logFile), "text (n::F: file: f.cpp(7))\nbare\n");
}

void TestLog4cpp::layouts_data()
{
    QTest::addColumn<unsigned int>("options");
    QTest::addColumn<QString>("form");

    const QString basic = QStringLiteral("^\\d+ INFO test\\.backend : text\n$");
    const QString simple = QStringLiteral("^INFO +: text\n$");
    const QString pattern = QStringLiteral("^INFO test.backend text\n$");
    QTest::newRow("pattern wins over all") << 256u + 512u + 1024u << pattern;
    QTest::newRow("basic wins over simple") << 512u + 1024u << basic;
    QTest::newRow("simple") << 512u << simple;
    QTest::newRow("none is the default of log4cpp, basic") << 0u << basic;
}

void TestLog4cpp::layouts()
{
    QFETCH(unsigned int, options);
    QFETCH(QString, form);

    Setup setup;
    setup.logFile = File("a.log");
    setup.options = options;
    setup.Apply();
    LOG_MESSAGE(logger::Info) << "text";
    const QString text = QString::fromUtf8(ReadFile(setup.logFile));
    QVERIFY2(QRegularExpression(form).match(text).hasMatch(), qPrintable(text));
}

void TestLog4cpp::plainAndRollingFile_data()
{
    QTest::addColumn<unsigned int>("targets");
    QTest::addColumn<QStringList>("files");

    QTest::newRow("plain file grows") << 4u << QStringList{QStringLiteral("a.log")};
    QTest::newRow("rolling file wins over plain")
        << 12u << QStringList{QStringLiteral("a.log"), QStringLiteral("a.log.1"), QStringLiteral("a.log.2")};
    QTest::newRow("no file target") << 0u << QStringList{};
}

void TestLog4cpp::plainAndRollingFile()
{
    QFETCH(unsigned int, targets);
    QFETCH(QStringList, files);

    Setup setup;
    setup.targets = targets;
    setup.logFile = File("a.log");
    setup.maxFileSize = 100;
    setup.maxBackups = 2;
    setup.Apply();
    for (int i = 0; i < 50; ++i) {
        LOG_MESSAGE(logger::Info) << "a line of text";
    }
    QCOMPARE(QDir(dir->path()).entryList(QDir::Files, QDir::Name), files);
}

void TestLog4cpp::levels_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<QByteArray>("expected");

    const QByteArray all = "FATAL 0\nALERT 1\nCRIT 2\nERROR 3\nWARN 4\nNOTICE 5\nINFO 6\nDEBUG 7\n";
    QTest::newRow("errors only") << 3 << QByteArray("FATAL 0\nALERT 1\nCRIT 2\nERROR 3\n");
    QTest::newRow("fatal only") << 0 << QByteArray("FATAL 0\n");
    QTest::newRow("debug") << 7 << all;
    QTest::newRow("NotSet lets debug pass") << 8 << all;
    QTest::newRow("out of range") << -1 << all;
}

void TestLog4cpp::levels()
{
    QFETCH(int, level);
    QFETCH(QByteArray, expected);

    Setup setup;
    setup.level = level;
    setup.pattern = QStringLiteral("%p %m%n");
    setup.logFile = File("a.log");
    setup.Apply();
    QCOMPARE(logger::GetLogger()->GetLevel(), int(logger::NotSet));
    for (int i = logger::Fatal; i <= logger::NotSet; ++i) {
        LOG_MESSAGE(i) << i;
    }
    // log4cpp calls its highest priority EMERG or FATAL, whichever it was built to prefer.
    QCOMPARE(ReadFile(setup.logFile).replace("EMERG", "FATAL"), expected);
}

void TestLog4cpp::shortLog()
{
    Setup setup;
    setup.logFile = File("a.log");
    setup.shortLogFile = File("b.log");
    setup.maxBackups = 5;
    setup.maxFileSize = 60;
    setup.Apply();
    for (int i = 0; i < 30; ++i) {
        LogOnMain("for both logs");
    }
    LOG_MESSAGE(logger::Info) << "for the main log";

    QVERIFY(!ReadFile(setup.shortLogFile).contains("for the main log"));
    QVERIFY(ReadFile(setup.shortLogFile + QLatin1String(".1")).contains("for both logs"));
    QVERIFY2(!QFile::exists(setup.shortLogFile + QLatin1String(".2")), "the short log keeps one backup");
    QVERIFY(QFile::exists(setup.logFile + QLatin1String(".5")));
}

void TestLog4cpp::fileLoggingSwitch()
{
    Setup setup;
    setup.logFile = File("a.log");
    setup.shortLogFile = File("b.log");
    setup.pattern = QStringLiteral("%m%n");
    setup.Apply();
    logger::ILogger* log = logger::GetLogger();
    log->SetFileLoggingEnabled(true);
    LogOnMain("1");
    log->SetFileLoggingEnabled(false);
    log->SetFileLoggingEnabled(false);
    LogOnMain("2");
    QVERIFY(QFile::remove(setup.logFile));
    log->SetFileLoggingEnabled(true);
    LogOnMain("3");
    QCOMPARE(ReadFile(setup.logFile), "3\n");
    QCOMPARE(ReadFile(setup.shortLogFile), "1\n3\n");
}

void TestLog4cpp::switchNeedsMainLog()
{
    Setup setup;
    setup.targets = 0;
    setup.logFile = File("a.log");
    setup.shortLogFile = File("b.log");
    setup.pattern = QStringLiteral("%m%n");
    setup.Apply();
    logger::GetLogger()->SetFileLoggingEnabled(false);
    LogOnMain("still written");
    QCOMPARE(ReadFile(setup.shortLogFile), "still written\n");
}

void TestLog4cpp::secondConfigureReplacesFiles()
{
    Setup setup;
    setup.pattern = QStringLiteral("%m%n");
    setup.logFile = File("a.log");
    setup.Apply();
    LOG_MESSAGE(logger::Info) << "1";
    setup.logFile = File("b.log");
    setup.Apply();
    LOG_MESSAGE(logger::Info) << "2";
    QCOMPARE(ReadFile(File("a.log")), "1\n");
    QCOMPARE(ReadFile(File("b.log")), "2\n");
}

void TestLog4cpp::badPatternKeepsFile()
{
    Setup setup;
    setup.pattern = QStringLiteral("%m%n");
    setup.logFile = File("a.log");
    setup.shortLogFile = File("short.log");
    setup.Apply();
    setup.logFile = File("b.log");
    setup.pattern = QStringLiteral("%m%Q%n");
    QVERIFY(setup.Apply());
    LogOnMain("old file");
    QCOMPARE(ReadFile(File("a.log")), "old file\n");
    QCOMPARE(ReadFile(File("b.log")), "");
    QCOMPARE(ReadFile(File("short.log")), "old file\n");

    setup.targets = logger::Console;
    bool thrown = false;
    try {
        setup.Apply();
    } catch (const std::exception&) {
        thrown = true;
    }
    QVERIFY2(thrown, "a bad pattern for the console is the caller's to know");
}

void TestLog4cpp::badPlaces_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<unsigned int>("targets");

    for (const unsigned int targets : {4u, 8u}) {
        const auto row = [targets](const char* name) -> QTestData& {
            return QTest::addRow("%s, target %u", name, targets);
        };
        row("missing folder") << QStringLiteral("no/such/folder/a.log") << targets;
        row("a folder in its place") << QStringLiteral("folder") << targets;
#ifdef Q_OS_LINUX
        row("full disk") << QStringLiteral("/dev/full") << targets;
#endif
    }
}

void TestLog4cpp::badPlaces()
{
    QFETCH(QString, path);
    QFETCH(unsigned int, targets);

    Setup setup;
    setup.targets = targets;
    QVERIFY(QDir(dir->path()).mkdir(QStringLiteral("folder")));
    setup.logFile = QDir(dir->path()).absoluteFilePath(path);
    setup.shortLogFile = setup.logFile;
    setup.maxFileSize = 10;
    QVERIFY(setup.Apply());
    for (int i = 0; i < 100; ++i) {
        LogOnMain("a line that nobody will read");
    }
    logger::GetLogger()->SetFileLoggingEnabled(false);
    logger::GetLogger()->SetFileLoggingEnabled(true);
    LogOnMain("nor this one");

    setup.logFile = File("good.log");
    setup.shortLogFile = File("short.log");
    setup.maxFileSize = largeFile;
    setup.Apply();
    LogOnMain("recovered");
    QCOMPARE(ReadFile(setup.logFile), "INFO main.window recovered\n");
}

void TestLog4cpp::vanishingDirectory()
{
    Setup setup;
    setup.pattern = QStringLiteral("%m%n");
    setup.logFile = File("folder/a.log");
    setup.maxFileSize = 50;
    QVERIFY(QDir(dir->path()).mkdir(QStringLiteral("folder")));
    setup.Apply();
    LOG_MESSAGE(logger::Info) << "before";
    QVERIFY(QDir(File("folder")).removeRecursively());
    for (int i = 0; i < 20; ++i) {
        LOG_MESSAGE(logger::Info) << "into the void";
    }
    QVERIFY(QDir(dir->path()).mkdir(QStringLiteral("folder")));
    logger::GetLogger()->SetFileLoggingEnabled(false);
    logger::GetLogger()->SetFileLoggingEnabled(true);
    LOG_MESSAGE(logger::Info) << "after";
    QCOMPARE(ReadFile(setup.logFile), "after\n");
}

void TestLog4cpp::negativeBackups()
{
    Setup setup;
    setup.logFile = File("a.log");
    setup.maxFileSize = 100;
    setup.maxBackups = -1;
    setup.Apply();
    for (int i = 0; i < 50; ++i) {
        LogOnMain("a line of which ten are enough for a rollover");
    }
    QVERIFY(ReadFile(setup.logFile).size() < 1000);
    QVERIFY(!QFile::exists(File("a.log.2")));
}

void TestLog4cpp::threadsIntoOneRollingFile()
{
    constexpr int threadCount = 16;
    constexpr int linesEach = 1000;

    Setup setup;
    setup.pattern = QStringLiteral("<%m>%n");
    setup.logFile = File("a.log");
    setup.maxFileSize = 50000;
    setup.maxBackups = 99;
    setup.Apply();
    std::vector<std::thread> threads;
    threads.reserve(threadCount);
    for (int thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([thread] {
            for (int i = 0; i < linesEach; ++i) {
                LOG_MESSAGE(logger::Info)
                    << thread << '/' << i << " the quick brown fox jumps over the lazy dog";
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    const QStringList files = QDir(dir->path()).entryList(QDir::Files);
    QVERIFY2(files.size() > 10, "the test needs many rollovers");
    QSet<QByteArray> lines;
    static const QRegularExpression whole(
        QStringLiteral("^<\\d+/\\d+ the quick brown fox jumps over the lazy dog>$"));
    for (const QString& file : files) {
        QByteArray text = ReadFile(dir->filePath(file));
        QVERIFY(text.endsWith('\n'));
        text.chop(1);
        for (const QByteArray& line : text.split('\n')) {
            QVERIFY2(whole.match(QString::fromUtf8(line)).hasMatch(), line.constData());
            QVERIFY2(!lines.contains(line), line.constData());
            lines.insert(line);
        }
    }
    QCOMPARE(lines.size(), threadCount * linesEach);
}

void TestLog4cpp::channels()
{
    Setup setup;
    setup.pattern = QStringLiteral("[%c] %m%n");
    setup.logFile = File("a.log");
    setup.Apply();
    const logger::Channel nameless{nullptr};
    logger::ILogger* log = logger::GetLogger();
    logger::Message(log, nullptr, logger::Info, nullptr, nullptr, 0).GetStream() << "no channel";
    logger::Message(log, &nameless, logger::Info, nullptr, nullptr, 0).GetStream() << "no name";
    LOG_MESSAGE(logger::Info) << "own channel";
    QCOMPARE(ReadFile(setup.logFile), "[] no channel\n[test.backend] own channel\n");
}

void TestLog4cpp::qtMessages()
{
    Setup setup;
    setup.pattern = QStringLiteral("%p [%c] %m%n");
    setup.logFile = File("a.log");
    setup.qtChannel = QStringLiteral("qt.k\u00F6rper");
    setup.Apply();
    const QtMessageHandler testHandler = qInstallMessageHandler(libraryHandler);
    qWarning("w");
    qInfo("i");
    qInstallMessageHandler(testHandler);
    QCOMPARE(ReadFile(setup.logFile), "WARN [qt.k\xC3\xB6rper] w\nDEBUG [qt.k\xC3\xB6rper] i\n");
}

void TestLog4cpp::configurationFile()
{
    logger::ILogger* log = logger::GetLogger();
    QVERIFY(!log->LoadConfiguration(QString()));
    QVERIFY(!log->LoadConfiguration(File("missing.properties")));
    WriteFile(File("bad.properties"), "rootCategory=DEBUG, A\nappender.A=NoSuchAppender\n");
    QVERIFY(!log->LoadConfiguration(File("bad.properties")));

    WriteFile(File("good.properties"), "rootCategory=WARN, A\nappender.A=FileAppender\nappender.A.fileName=" +
                                           File("configured.log").toLocal8Bit() +
                                           "\nappender.A.layout=PatternLayout\n"
                                           "appender.A.layout.ConversionPattern=configured %m%n\n");
    Setup setup;
    setup.configFile = File("good.properties");
    setup.logFile = File("a.log");
    setup.options |= logger::ShowSource;
    QVERIFY(setup.Apply());
    LOG_MESSAGE(logger::Warn) << "warning";
    LOG_MESSAGE(logger::Info) << "filtered by the file";
    const QByteArray text = ReadFile(File("configured.log"));
    QVERIFY2(text.startsWith("configured warning (file: ") && text.count('\n') == 1, text.constData());
    QVERIFY2(!QFile::exists(setup.logFile), "the file decides everything");
}

// The console appender stays with the root category, so this comes last.
void TestLog4cpp::console()
{
    Setup setup;
    setup.targets = logger::Console;
    setup.pattern = QStringLiteral("%m%n");
    setup.Apply();
    std::ostringstream text;
    std::streambuf* previous = std::cout.rdbuf(text.rdbuf());
    LOG_MESSAGE(logger::Info) << "to the console";
    setup.Apply();
    LOG_MESSAGE(logger::Info) << "doubled";
    std::cout.rdbuf(previous);
    QCOMPARE(QString::fromStdString(text.str()), QStringLiteral("to the console\ndoubled\ndoubled\n"));
}

} // namespace backendtest

int main(int argc, char* argv[])
{
    const QtMessageHandler handler = qInstallMessageHandler(nullptr);
    qInstallMessageHandler(handler);
    backendtest::TestLog4cpp test(handler);
    return QTest::qExec(&test, argc, argv);
}
#include "tst_log4cpp.moc"

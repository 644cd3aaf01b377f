// Logs through log4cpp from the first static constructor to the last static destructor, while threads that
// nobody stopped still log. The test starts itself to do so, with the log file and a property file.

#include "files/filetree.h"

#include <common/logger/logger.h>

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <chrono>
#include <thread>

namespace logger = common::logger;

namespace
{

/// Logs when it is made and when it dies.
struct Speaker
{
    explicit Speaker(const char* name_)
        : name(name_)
    {
        Speak("begins");
    }
    ~Speaker() { Speak("ends"); }

    void Speak(const char* text) const
    {
        LOG_MESSAGE(logger::Error) << name << ' ' << text;
        qWarning("%s %s, says Qt", name, text);
    }

    const char* name;
};

/// Uses loggers that have ended in all ways there are.
struct Latecomer
{
    ~Latecomer()
    {
        logger::ILogger* log = logger::GetLog4cpp();
        logger::Message(log, nullptr, logger::Fatal, nullptr, nullptr, 0).GetStream() << "early, no channel";
        log->SetLevel(logger::Debug);
        log->Configure(logger::Debug, logger::Console | logger::RollingFile, 0, {}, {}, {}, {}, "/dev/null",
                       1000, 1);
        log->SetFileLoggingEnabled(true);
        logger::SetLogger(defaultLogger);
        LOG_MESSAGE(logger::Error) << "early, by the default logger";
    }

    logger::ILogger* defaultLogger = nullptr;
};

// Made before the backend exists, so they die after it.
Latecomer latecomer;
const Speaker early("early");

int LogUntilExit(const char* logFile, const char* configFile)
{
    logger::ILogger* log = logger::GetLog4cpp();
    latecomer.defaultLogger = logger::SetLogger(log);
    log->Configure(logger::Debug, logger::RollingFile | logger::Debugger, logger::PatternLayout, "%p %c %m%n",
                   "qt.messages", configFile, logFile, "short.log", 100000000, 2);
    // Made after the backend, so it dies first.
    static const Speaker late("late");
    std::thread([] {
        while (true) {
            LOG_MESSAGE(logger::Debug) << "thread runs";
            std::this_thread::sleep_for(std::chrono::microseconds(1));
        }
    }).detach();
    return 0;
}

} // namespace

class TestLoggingAtExit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void linesAtExit_data();
    void linesAtExit();
};

void TestLoggingAtExit::linesAtExit_data()
{
    QTest::addColumn<QByteArray>("configuration");

    QTest::newRow("appenders of its own") << QByteArray("no such property");
    QTest::newRow("those of a property file")
        << QByteArray("rootCategory=DEBUG, A\nappender.A=FileAppender\nappender.A.fileName=exit.log\n"
                      "appender.A.layout=PatternLayout\nappender.A.layout.ConversionPattern=%p %c %m%n\n");
}

void TestLoggingAtExit::linesAtExit()
{
    QFETCH(QByteArray, configuration);

    const QTemporaryDir dir;
    filetree::Write(filetree::ToPath(dir.filePath("log.properties")), configuration);
    QStringList command{QCoreApplication::applicationFilePath(), "exit.log", "log.properties"};
#ifdef RUN_UNDER_VALGRIND
    // The thread that is left behind keeps its stack, so only blocks that nothing points to are leaks.
    command =
        QString("valgrind --quiet --error-exitcode=9 --leak-check=full --show-leak-kinds=definite,indirect "
                "--errors-for-leak-kinds=definite,indirect")
            .split(' ') +
        command;
#endif
    QProcess program;
    program.setWorkingDirectory(dir.path());
    program.setProcessChannelMode(QProcess::MergedChannels);
    program.start(command.takeFirst(), command);
    QVERIFY(program.waitForFinished(60000));
    const QByteArray output = program.readAll();
    QVERIFY2(program.exitStatus() == QProcess::NormalExit && program.exitCode() == 0, output);
    QVERIFY2(output.contains("early ends, says Qt"), "Qt's own handler is back at the end");

    QFile file(dir.filePath("exit.log"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    QVERIFY2(text.contains("ERROR main late ends\n"), "a line before the end of life is written");
    QVERIFY(text.contains("WARN qt.messages late begins, says Qt\n") && !text.contains("early"));
}

int main(int argc, char* argv[])
{
    if (argc == 3) {
        return LogUntilExit(argv[1], argv[2]);
    }
    QCoreApplication application(argc, argv);
    TestLoggingAtExit test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_logging_at_exit.moc"

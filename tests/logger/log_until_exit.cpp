// Logs through log4cpp from its first static constructor to its last static destructor, while threads that
// nobody stopped still log. Arguments: the log file and a property file, which need not exist.

#include <common/logger/logger.h>

#include <QDebug>

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
        logger::Message(log, nullptr, logger::Fatal, nullptr, nullptr, 0).GetStream()
            << "early, on no channel";
        log->SetLevel(logger::Debug);
        log->Configure(logger::Debug, logger::Console | logger::RollingFile, 0, {}, {}, {}, {},
                       QStringLiteral("/dev/null"), 1000, 1);
        log->SetFileLoggingEnabled(true);
        logger::SetLogger(defaultLogger);
        LOG_MESSAGE(logger::Error) << "early, by the default logger";
    }

    logger::ILogger* defaultLogger = nullptr;
};

// Made before the backend exists, so they die after it.
Latecomer latecomer;
const Speaker early("early");

} // namespace

int main(int /*argc*/, char* argv[])
{
    logger::ILogger* log = logger::GetLog4cpp();
    latecomer.defaultLogger = logger::SetLogger(log);
    log->Configure(logger::Debug, logger::RollingFile | logger::Debugger, logger::PatternLayout,
                   QStringLiteral("%p %c %m%n"), QStringLiteral("qt.messages"),
                   QString::fromLocal8Bit(argv[2]), QString::fromLocal8Bit(argv[1]),
                   QStringLiteral("short.log"), 100000000, 2);
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

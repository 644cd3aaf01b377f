/// Helper program for the tests of the log4cpp backend. The argument selects how the program logs and ends.

#include <common/logger/logger.h>

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <string_view>
#include <thread>

namespace logger = common::logger;
using namespace Qt::StringLiterals;

namespace
{

constexpr logger::Channel channel{"test.backend"};

/// Logs to exit.log until after the end of the backend, while a detached thread also logs.
int LogUntilExit()
{
    static logger::ILogger* const defaultLogger = logger::GetLogger();
    // Runs after the end of the backend, because it is registered before the backend exists.
    int failures = std::atexit([] {
        qWarning("too late, says Qt");
        LOG_MESSAGE_ON(channel, logger::Fatal) << "too late";
        logger::ILogger* log = logger::GetLog4cpp();
        log->SetLevel(logger::Debug);
        log->Configure(0, logger::Target::Console | logger::Target::RollingFile, 0, {}, {}, {}, {},
                       u"too late"_s, 1000, 1);
        log->SetFileLoggingEnabled(true);
        logger::SetLogger(defaultLogger);
        LOG_MESSAGE_ON(channel, logger::Error) << "too late, by the default logger";
    });
    logger::SetLogger(logger::GetLog4cpp());
    logger::GetLogger()->Configure(logger::Debug, logger::Target::RollingFile | logger::Target::Debugger,
                                   logger::Option::PatternLayout, u"%p %c %m%n"_s, u"qt.k\u00F6rper"_s, {},
                                   u"exit.log"_s, u"short.log"_s, 100000000, 2);
    // Runs before the end of the backend.
    failures += std::atexit([] {
        LOG_MESSAGE_ON(channel, logger::Error) << "last words";
        qDebug("debug");
        qInfo("info");
        qWarning("warning");
        qCritical("critical");
    });
    std::thread([] {
        while (true) {
            LOG_MESSAGE_ON(channel, logger::Warn) << "thread runs";
            std::this_thread::sleep_for(std::chrono::microseconds(1));
        }
    }).detach();
    return failures;
}

/// Logs with the default logger. At the end of standard input, ends with a fatal message on the console.
int EndFatally()
{
    logger::GetLogger()->SetLevel(logger::Debug);
    LOG_MESSAGE_ON(channel, logger::Info) << "by default";
    std::cin.get();
    logger::SetLogger(logger::GetLog4cpp());
    logger::GetLogger()->Configure(logger::Debug, logger::Target::Console, logger::Option::PatternLayout,
                                   u"%m%n"_s, {}, {}, {}, {}, 0, 0);
    qFatal("last message");
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    const std::string_view role = argc == 2 ? argv[1] : "";
    return role == "log until exit" ? LogUntilExit() : EndFatally();
}

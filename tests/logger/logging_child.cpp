/// A program that logs and ends in the way that its argument names, started by the tests of the backend.

#include <common/logger/logger.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string_view>
#include <thread>

namespace logger = common::logger;
using namespace Qt::StringLiterals;

// A separate namespace, so that the channel declared in it is found before the default one.
namespace backendtest
{

namespace
{

constexpr logger::Channel logChannel{"test.backend"};

/// Logs to exit.log until after the last moment, while a thread that nobody stops still logs.
int LogUntilExit()
{
    static logger::ILogger* const defaultLogger = logger::GetLogger();
    // Registered before the backend exists, so it runs after the backend's end.
    int failures = std::atexit([] {
        qWarning("too late, says Qt");
        LOG_MESSAGE(logger::Fatal) << "too late";
        logger::ILogger* log = logger::GetLog4cpp();
        log->SetLevel(logger::Debug);
        log->Configure(0, logger::Target::Console | logger::Target::RollingFile, 0, {}, {}, {}, {},
                       u"too late"_s, 1000, 1);
        log->SetFileLoggingEnabled(true);
        logger::SetLogger(defaultLogger);
        LOG_MESSAGE(logger::Error) << "too late, by the default logger";
    });
    logger::SetLogger(logger::GetLog4cpp());
    logger::GetLogger()->Configure(logger::Debug, logger::Target::RollingFile | logger::Target::Debugger,
                                   logger::Option::PatternLayout, u"%p %c %m%n"_s, u"qt.k\u00F6rper"_s, {},
                                   u"exit.log"_s, u"short.log"_s, 100000000, 2);
    // Registered after it, so it runs before.
    failures += std::atexit([] {
        LOG_MESSAGE(logger::Error) << "last words";
        qDebug("debug");
        qInfo("info");
        qWarning("warning");
        qCritical("critical");
    });
    std::thread([] {
        while (true) {
            LOG_MESSAGE(logger::Warn) << "thread runs";
            std::this_thread::sleep_for(std::chrono::microseconds(1));
        }
    }).detach();
    return failures;
}

int LogByDefault()
{
    logger::GetLogger()->SetLevel(logger::Debug);
    LOG_MESSAGE(logger::Info) << "by default";
    return 0;
}

/// Ends with a fatal message while the console is the only target.
int EndFatally()
{
    logger::SetLogger(logger::GetLog4cpp());
    logger::GetLogger()->Configure(logger::Debug, logger::Target::Console, logger::Option::PatternLayout,
                                   u"%m%n"_s, {}, {}, {}, {}, 0, 0);
    qFatal("last message");
    return 0;
}

int WaitForInput()
{
    std::cout << "ready" << std::endl;
    return std::cin.get() == EOF ? 0 : 1;
}

} // namespace

} // namespace backendtest

int main(int argc, char* argv[])
{
    const std::string_view role = argc == 2 ? argv[1] : "";
    return role == "log until exit"   ? backendtest::LogUntilExit()
           : role == "log by default" ? backendtest::LogByDefault()
           : role == "end fatally"    ? backendtest::EndFatally()
                                      : backendtest::WaitForInput();
}

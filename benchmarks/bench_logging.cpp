/// Compares the library's log4cpp backend with log4cpp alone and with other libraries in writing a line to a
/// rolling file.

#include <common/logger/logger.h>

#include <log4cpp/Category.hh>
#include <log4cpp/PatternLayout.hh>
#include <log4cpp/RollingFileAppender.hh>

#include <QLoggingCategory>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>

#include <cstdio>
#include <thread>
#include <vector>

namespace bench
{

namespace
{

namespace logger = common::logger;

constexpr logger::Channel logChannel{"bench.line"};
constexpr std::size_t maxFileSize = std::size_t{10} * 1024 * 1024;
constexpr int maxBackups = 2;
/// The default pattern of the backend.
constexpr const char* pattern = "%d{%Y.m.%d %H:%M:%S.%l} %6p [%5t] %c: %m%n";

Q_LOGGING_CATEGORY(qtCategory, "bench.line")

const QTemporaryDir& LogFolder()
{
    static const QTemporaryDir folder;
    return folder;
}

/// Makes the log4cpp backend the current logger for the scope.
class BackendInUse
{
public:
    explicit BackendInUse(int level)
        : previous(logger::SetLogger(logger::GetLog4cpp()))
    {
        logger::GetLogger()->Configure(level, logger::Target::RollingFile, logger::Option::PatternLayout, {},
                                       {}, {}, LogFolder().filePath(QStringLiteral("facade.log")), {},
                                       maxFileSize, maxBackups);
    }

    ~BackendInUse()
    {
        logger::GetLogger()->SetFileLoggingEnabled(false);
        logger::SetLogger(previous);
    }

private:
    Q_DISABLE_COPY(BackendInUse)

    logger::ILogger* previous;
};

void Facade(benchmark::State& state)
{
    const BackendInUse backend(logger::Info);
    int number = 0;
    for (auto _ : state) {
        LOG_MESSAGE(logger::Info) << "request " << ++number << " ends with code " << 200;
    }
}
BENCHMARK(Facade)->Name("log line to a rolling file/vxcommon");

void BareLog4cpp(benchmark::State& state)
{
    const std::string path = LogFolder().filePath(QStringLiteral("bare.log")).toStdString();
    auto* layout = new log4cpp::PatternLayout;
    layout->setConversionPattern(pattern);
    log4cpp::RollingFileAppender appender("bare", path, maxFileSize, maxBackups);
    appender.setLayout(layout);
    log4cpp::Category& root = log4cpp::Category::getRoot();
    root.setPriority(log4cpp::Priority::INFO);
    root.addAppender(appender);
    int number = 0;
    for (auto _ : state) {
        log4cpp::Category::getInstance("bench.line").infoStream()
            << "request " << ++number << " ends with code " << 200;
    }
    root.removeAppender(&appender);
}
BENCHMARK(BareLog4cpp)->Name("log line to a rolling file/log4cpp");

void Spdlog(benchmark::State& state)
{
    const std::string path = LogFolder().filePath(QStringLiteral("spdlog.log")).toStdString();
    const auto log = spdlog::rotating_logger_mt("bench.line", path, maxFileSize, maxBackups);
    log->flush_on(spdlog::level::trace); // log4cpp also writes each line immediately
    int number = 0;
    for (auto _ : state) {
        log->info("request {} ends with code {}", ++number, 200);
    }
    spdlog::drop_all();
}
BENCHMARK(Spdlog)->Name("log line to a rolling file/spdlog");

void QtDefaultHandler(benchmark::State& state)
{
    const QtMessageHandler ours = qInstallMessageHandler(nullptr);
    int number = 0;
    for (auto _ : state) {
        qCInfo(qtCategory) << "request" << ++number << "ends with code" << 200;
    }
    qInstallMessageHandler(ours);
}
BENCHMARK(QtDefaultHandler)->Name("log line to a rolling file/qCInfo to standard error");

void FilteredOut(benchmark::State& state)
{
    const BackendInUse backend(logger::Error);
    int number = 0;
    for (auto _ : state) {
        LOG_MESSAGE(logger::Info) << "request " << ++number << " ends with code " << 200;
    }
}
BENCHMARK(FilteredOut)->Name("log line that is filtered out/vxcommon");

/// Measures lines that are filtered out while the given number of threads log them.
void FilteredOutFromThreads(benchmark::State& state)
{
    constexpr int linesPerThread = 20000;
    const BackendInUse backend(logger::Error);
    for (auto _ : state) {
        std::vector<std::thread> threads(static_cast<std::size_t>(state.range(0)));
        for (std::thread& thread : threads) {
            thread = std::thread([] {
                for (int number = 0; number < linesPerThread; ++number) {
                    LOG_MESSAGE(logger::Info) << "request " << number << " ends with code " << 200;
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0) * linesPerThread);
}
BENCHMARK(FilteredOutFromThreads)
    ->Name("log line that is filtered out, from threads/vxcommon")
    ->Arg(1)
    ->Arg(2)
    ->Arg(4)
    ->UseRealTime();

void TextOnly(benchmark::State& state)
{
    int number = 0;
    for (auto _ : state) {
        QString text;
        QTextStream stream(&text);
        stream << "request " << ++number << " ends with code " << 200;
        stream.flush();
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(TextOnly)->Name("log line that is filtered out/its text alone");

void QtFilteredOut(benchmark::State& state)
{
    QLoggingCategory::setFilterRules(QStringLiteral("bench.line.debug=false"));
    int number = 0;
    for (auto _ : state) {
        qCDebug(qtCategory) << "request" << ++number << "ends with code" << 200;
    }
}
BENCHMARK(QtFilteredOut)->Name("log line that is filtered out/qCDebug");

} // namespace

} // namespace bench

int main(int argc, char* argv[])
{
    // Discard what Qt's default handler writes, so that the terminal is not measured.
    if (std::freopen("/dev/null", "w", stderr) == nullptr) {
        return 1;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

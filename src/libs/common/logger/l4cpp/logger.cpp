#include <common/logger/logger.h>

#include "../sourcesuffix.h"
#include "debugappender.h"
#include "qtmessagehandler.h"

#include <log4cpp/BasicLayout.hh>
#include <log4cpp/Category.hh>
#include <log4cpp/FileAppender.hh>
#include <log4cpp/OstreamAppender.hh>
#include <log4cpp/PatternLayout.hh>
#include <log4cpp/Priority.hh>
#include <log4cpp/PropertyConfigurator.hh>
#include <log4cpp/RollingFileAppender.hh>
#include <log4cpp/SimpleLayout.hh>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <iostream>
#include <memory>
#include <thread>

namespace common::logger::l4cpp
{

namespace
{

// The literal "m" where a month would be expected is meant: log readers in the field know the line by it.
constexpr char defaultPattern[] = "%d{%Y.m.%d %H:%M:%S.%l} %6p [%5t] %c: %m%n";

constexpr mode_t logFileMode = 0644;
constexpr unsigned int shortLogBackups = 1;

log4cpp::Priority::Value PriorityOf(int level)
{
    constexpr int step = log4cpp::Priority::ALERT - log4cpp::Priority::EMERG;
    return level >= Fatal && level < Debug ? level * step : log4cpp::Priority::DEBUG;
}

std::unique_ptr<log4cpp::Layout> CreateLayout(unsigned int options, const QString& pattern)
{
    if ((options & PatternLayout) != 0) {
        auto layout = std::make_unique<log4cpp::PatternLayout>();
        layout->setConversionPattern(pattern.isEmpty() ? std::string(defaultPattern) : pattern.toStdString());
        return layout;
    }
    if ((options & BasicLayout) != 0) {
        return std::make_unique<log4cpp::BasicLayout>();
    }
    if ((options & SimpleLayout) != 0) {
        return std::make_unique<log4cpp::SimpleLayout>();
    }
    return nullptr;
}

/// Gives the appender a layout of its own; without a layout option it keeps log4cpp's default.
void SetLayout(log4cpp::Appender& appender, unsigned int options, const QString& pattern)
{
    if (auto layout = CreateLayout(options, pattern)) {
        appender.setLayout(layout.release());
    }
}

std::string LocalPath(const QString& path)
{
    return path.toLocal8Bit().toStdString();
}

/// The appender that `targets` asks for; null if it names no file target.
std::unique_ptr<log4cpp::Appender> CreateFileAppender(unsigned int targets, const QString& logFile,
                                                      std::size_t maxFileSize, int maxBackups)
{
    if ((targets & RollingFile) != 0) {
        return std::make_unique<log4cpp::RollingFileAppender>(
            "rollingfile", LocalPath(logFile), maxFileSize,
            static_cast<unsigned int>(std::max(maxBackups, 0)), true, logFileMode);
    }
    if ((targets & File) != 0) {
        return std::make_unique<log4cpp::FileAppender>("file", LocalPath(logFile), true, logFileMode);
    }
    return nullptr;
}

bool HasAppender(const log4cpp::Category& category, log4cpp::Appender* appender)
{
    return category.getAllAppenders().count(appender) != 0;
}

/// An appender of our own that writes for one category, which must never hold it longer than we do.
class AttachedAppender
{
public:
    explicit AttachedAppender(log4cpp::Category& category_)
        : category(category_)
    {}
    ~AttachedAppender() { Replace(nullptr); }

    bool IsNull() const { return appender == nullptr; }

    void Replace(std::unique_ptr<log4cpp::Appender> replacement)
    {
        if (replacement) {
            category.addAppender(*replacement);
        }
        if (appender) {
            category.removeAppender(appender.get());
        }
        appender = std::move(replacement);
    }

    void Attach()
    {
        if (appender && !HasAppender(category, appender.get())) {
            appender->reopen();
            category.addAppender(*appender);
        }
    }

    void Detach()
    {
        if (appender && HasAppender(category, appender.get())) {
            category.removeAppender(appender.get());
            appender->close();
        }
    }

private:
    Q_DISABLE_COPY(AttachedAppender)

    log4cpp::Category& category;
    std::unique_ptr<log4cpp::Appender> appender;
};

/// Counts a thread that is inside Logger::Write.
class WriterCount
{
public:
    explicit WriterCount(std::atomic<int>& writers_)
        : writers(writers_)
    {
        ++writers;
    }
    ~WriterCount() { --writers; }

private:
    Q_DISABLE_COPY(WriterCount)

    std::atomic<int>& writers;
};

/**
 * Maps channels onto log4cpp categories. One instance a process, never freed, so that a statement in a late
 * destructor still finds an object; what it wrote to is gone by then, and the line is dropped.
 */
class Logger final : public ILogger
{
public:
    Logger() = default;

    void Write(const IMessage& message) override;
    int GetLevel() const override { return NotSet; }
    void SetLevel(int level) override;
    bool IsSourceShown() const override { return (options & ShowSource) != 0; }
    void SetSourceShown(bool shown) override
    {
        options = shown ? options | ShowSource : options & ~ShowSource;
    }
    bool Configure(int level, unsigned int targets, unsigned int options, const QString& pattern,
                   const QString& qtChannel, const QString& configFile, const QString& logFile,
                   const QString& shortLogFile, std::size_t maxFileSize, int maxBackups) override;
    bool LoadConfiguration(const QString& configFile) override;
    void SetFileLoggingEnabled(bool enabled) override;

    /// The end of life: later lines are dropped, since log4cpp's categories may be gone from now on.
    void End();

private:
    Q_DISABLE_COPY(Logger)

    void DoDestroy() override {}
    bool WaitForWriters() const;
    void AddOwnedAppender(std::unique_ptr<log4cpp::Appender> appender, const QString& pattern);

    log4cpp::Category& root = log4cpp::Category::getRoot();
    log4cpp::Category& mainCategory = log4cpp::Category::getInstance("main");
    AttachedAppender fileAppender{root};
    AttachedAppender shortFileAppender{mainCategory};
    unsigned int targets = 0;
    unsigned int options = 0;
    std::atomic<int> writers = 0;
    std::atomic<bool> ended = false;
};

void Logger::Write(const IMessage& message)
{
    const WriterCount count(writers);
    const Channel* channel = message.GetChannel();
    if (ended.load() || (channel != nullptr && channel->name == nullptr)) {
        return;
    }
    try {
        log4cpp::Category& category =
            channel != nullptr ? log4cpp::Category::getInstance(channel->name) : root;
        const log4cpp::Priority::Value priority = PriorityOf(message.GetLevel());
        if (category.isPriorityEnabled(priority)) {
            category.log(priority, message.GetText()->toStdString() + SourceSuffix(*this, options, message));
        }
    } catch (...) {
        // A line that cannot be written is dropped: there is nobody left to tell.
    }
}

void Logger::SetLevel(int level)
{
    if (ended.load()) {
        return;
    }
    const log4cpp::Priority::Value priority = PriorityOf(level);
    root.setPriority(priority);
    mainCategory.setPriority(priority);
}

void Logger::AddOwnedAppender(std::unique_ptr<log4cpp::Appender> appender, const QString& pattern)
{
    SetLayout(*appender, options, pattern);
    root.addAppender(appender.release());
}

bool Logger::Configure(int level, unsigned int newTargets, unsigned int newOptions, const QString& pattern,
                       const QString& qtChannel, const QString& configFile, const QString& logFile,
                       const QString& shortLogFile, std::size_t maxFileSize, int maxBackups)
{
    if (ended.load()) {
        return true;
    }
    targets = newTargets;
    options = newOptions;
    SetQtChannel(qtChannel);
    if (LoadConfiguration(configFile)) {
        return true;
    }
    SetLevel(level);
    if ((targets & Console) != 0) {
        AddOwnedAppender(std::make_unique<log4cpp::OstreamAppender>("console", &std::cout), pattern);
    }
    if ((targets & Debugger) != 0) {
        AddOwnedAppender(CreateDebugAppender(), pattern);
    }
    if (!logFile.isEmpty()) {
        try {
            auto appender = CreateFileAppender(targets, logFile, maxFileSize, maxBackups);
            if (appender) {
                SetLayout(*appender, options, pattern);
            }
            fileAppender.Replace(std::move(appender));
        } catch (...) {
            // The previous appender stays.
        }
    }
    if (!shortLogFile.isEmpty()) {
        try {
            std::unique_ptr<log4cpp::Appender> appender = std::make_unique<log4cpp::RollingFileAppender>(
                "rollingfile_short", LocalPath(shortLogFile), maxFileSize, shortLogBackups, true,
                logFileMode);
            SetLayout(*appender, options, pattern);
            shortFileAppender.Replace(std::move(appender));
        } catch (...) {
            // The previous appender stays.
        }
    }
    return true;
}

bool Logger::LoadConfiguration(const QString& configFile)
{
    if (configFile.isEmpty() || ended.load()) {
        return false;
    }
    try {
        log4cpp::PropertyConfigurator::configure(LocalPath(configFile));
        return true;
    } catch (...) {
        return false;
    }
}

void Logger::SetFileLoggingEnabled(bool enabled)
{
    if (fileAppender.IsNull() || ended.load()) {
        return;
    }
    if (enabled) {
        fileAppender.Attach();
        shortFileAppender.Attach();
    } else {
        fileAppender.Detach();
        shortFileAppender.Detach();
    }
}

void Logger::End()
{
    RestoreQtMessageHandler();
    ended.store(true);
    if (WaitForWriters()) {
        shortFileAppender.Replace(nullptr);
        fileAppender.Replace(nullptr);
    }
}

/// False if a writer does not come back: Windows ends the other threads before it unloads libraries.
bool Logger::WaitForWriters() const
{
    constexpr std::chrono::milliseconds patience(200);
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (writers.load() != 0) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

/// Puts the end of life on the exit list.
class LoggerEnd
{
public:
    explicit LoggerEnd(Logger& logger_)
        : logger(logger_)
    {}
    ~LoggerEnd() { logger.End(); }

private:
    Q_DISABLE_COPY(LoggerEnd)

    Logger& logger;
};

Logger& GetInstance()
{
    static Logger& logger = *new Logger;
    static const LoggerEnd end(logger);
    return logger;
}

} // namespace

} // namespace common::logger::l4cpp

namespace common::logger
{

ILogger* GetLog4cpp()
{
    return &l4cpp::GetInstance();
}

} // namespace common::logger

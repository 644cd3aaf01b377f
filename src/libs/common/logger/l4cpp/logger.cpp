#include <common/logger/logger.h>

#include "../neverdestroyed.h"
#include "../sourcesuffix.h"
#include "appenders.h"
#include "categorycache.h"
#include "qtmessagehandler.h"

#include <log4cpp/BasicLayout.hh>
#include <log4cpp/Category.hh>
#include <log4cpp/OstreamAppender.hh>
#include <log4cpp/PatternLayout.hh>
#include <log4cpp/Priority.hh>
#include <log4cpp/SimpleLayout.hh>

#include <QScopeGuard>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <iostream>
#include <memory>
#include <thread>

namespace common::logger::l4cpp
{

namespace
{

// Kept for compatibility: tools that read these logs rely on the literal "m" in place of the month.
constexpr char defaultPattern[] = "%d{%Y.m.%d %H:%M:%S.%l} %6p [%5t] %c: %m%n";

constexpr unsigned int shortLogBackups = 1;

log4cpp::Priority::Value PriorityOf(int level)
{
    using log4cpp::Priority;
    constexpr std::array priorities{Priority::EMERG, Priority::ALERT,  Priority::CRIT, Priority::ERROR,
                                    Priority::WARN,  Priority::NOTICE, Priority::INFO};
    const auto index = static_cast<std::size_t>(level);
    return index < priorities.size() ? priorities[index] : Priority::DEBUG;
}

/// Sets the layout of the appender. Without a layout option, the appender keeps log4cpp's default.
void SetLayout(log4cpp::Appender& appender, unsigned int options, const QString& pattern)
{
    if ((options & Option::PatternLayout) != 0) {
        auto layout = std::make_unique<log4cpp::PatternLayout>();
        layout->setConversionPattern(pattern.isEmpty() ? std::string(defaultPattern) : pattern.toStdString());
        appender.setLayout(layout.release());
    } else if ((options & Option::BasicLayout) != 0) {
        appender.setLayout(new log4cpp::BasicLayout);
    } else if ((options & Option::SimpleLayout) != 0) {
        appender.setLayout(new log4cpp::SimpleLayout);
    }
}

/// Returns the file appender that `targets` selects, or null if `targets` selects no file.
std::unique_ptr<log4cpp::Appender> CreateMainFileAppender(unsigned int targets, const QString& path,
                                                          std::size_t maxFileSize, int maxBackups)
{
    if ((targets & Target::RollingFile) != 0) {
        return CreateRollingFileAppender("rollingfile", path, maxFileSize,
                                         static_cast<unsigned int>(std::max(maxBackups, 0)));
    }
    return (targets & Target::File) != 0 ? CreateFileAppender(path) : nullptr;
}

bool HasAppender(const log4cpp::Category& category, log4cpp::Appender* appender)
{
    return category.getAllAppenders().count(appender) != 0;
}

/// Owns an appender and removes it from its category before deleting it.
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

/**
 * Maps channels to log4cpp categories. Never destroyed, because destructors that run at exit may still log.
 * By then log4cpp has been destroyed, so their lines are dropped.
 */
class Logger final : public ILogger
{
public:
    Logger() = default;

    void Write(const IMessage& message) override;
    int GetLevel() const override { return NotSet; }
    void SetLevel(int level) override;
    bool IsSourceShown() const override { return (options & Option::ShowSource) != 0; }
    void SetSourceShown(bool shown) override
    {
        options = shown ? options | Option::ShowSource : options & ~Option::ShowSource;
    }
    bool Configure(int level, unsigned int targets_, unsigned int options_, const QString& pattern,
                   const QString& qtChannel, const QString& configFile, const QString& logFile,
                   const QString& shortLogFile, std::size_t maxFileSize, int maxBackups) override;
    bool LoadConfiguration(const QString& configFile) override;
    void SetFileLoggingEnabled(bool enabled) override;

    void Destroy() override {}

    /// Deletes the file appenders and drops all later lines, because log4cpp is destroyed after this.
    void End();

private:
    Q_DISABLE_COPY(Logger)

    bool WaitForWriters() const;
    void AddOwnedAppender(std::unique_ptr<log4cpp::Appender> appender, const QString& pattern);

    log4cpp::Category& root = log4cpp::Category::getRoot();
    log4cpp::Category& mainCategory = log4cpp::Category::getInstance("main");
    CategoryCache categories;
    AttachedAppender fileAppender{root};
    AttachedAppender shortFileAppender{mainCategory};
    unsigned int targets = 0;
    unsigned int options = 0;
    std::atomic<int> writers = 0; ///< Number of threads inside Write.
    std::atomic<bool> ended = false;
};

void Logger::Write(const IMessage& message)
{
    ++writers;
    const auto leave = qScopeGuard([this] { --writers; });
    const Channel* channel = message.GetChannel();
    if (ended.load() || (channel != nullptr && channel->name == nullptr)) {
        return;
    }
    try {
        log4cpp::Category& category = channel != nullptr ? categories.Find(channel->name) : root;
        const log4cpp::Priority::Value priority = PriorityOf(message.GetLevel());
        if (category.isPriorityEnabled(priority)) {
            category.log(priority, message.GetText()->toStdString() + SourceSuffix(*this, options, message));
        }
    } catch (...) {
        // A line that cannot be written is lost.
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

bool Logger::Configure(int level, unsigned int targets_, unsigned int options_, const QString& pattern,
                       const QString& qtChannel, const QString& configFile, const QString& logFile,
                       const QString& shortLogFile, std::size_t maxFileSize, int maxBackups)
{
    if (ended.load()) {
        return true;
    }
    targets = targets_;
    options = options_;
    SetQtChannel(qtChannel);
    if (LoadConfiguration(configFile)) {
        return true;
    }
    SetLevel(level);
    if ((targets & Target::Console) != 0) {
        AddOwnedAppender(std::make_unique<log4cpp::OstreamAppender>("console", &std::cout), pattern);
    }
    if ((targets & Target::Debugger) != 0) {
        AddOwnedAppender(CreateDebugAppender(), pattern);
    }
    if (!logFile.isEmpty()) {
        try {
            auto appender = CreateMainFileAppender(targets, logFile, maxFileSize, maxBackups);
            if (appender) {
                SetLayout(*appender, options, pattern);
            }
            fileAppender.Replace(std::move(appender));
        } catch (...) {
            // Keep the previous appender.
        }
    }
    if (!shortLogFile.isEmpty()) {
        try {
            auto appender =
                CreateRollingFileAppender("rollingfile_short", shortLogFile, maxFileSize, shortLogBackups);
            SetLayout(*appender, options, pattern);
            shortFileAppender.Replace(std::move(appender));
        } catch (...) {
            // Keep the previous appender.
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
        LoadPropertyFile(configFile);
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

/// Returns false if a thread never leaves Write: Windows ends all other threads before it unloads libraries.
bool Logger::WaitForWriters() const
{
    constexpr std::chrono::milliseconds limit(200);
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (writers.load() != 0) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

Logger& GetInstance()
{
    static NeverDestroyed<Logger> logger;
    static const auto atExit = qScopeGuard([] { logger.value.End(); });
    return logger.value;
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

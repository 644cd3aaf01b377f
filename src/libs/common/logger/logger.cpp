#include <common/logger/logger.h>

#include "neverdestroyed.h"
#include "sourcesuffix.h"

#include <QDateTime>
#include <QDebug>
#include <QLoggingCategory>

#include <atomic>
#include <utility>

namespace common::logger
{

namespace
{

QDebug OpenQtStream(const QMessageLogger& qtLogger, int level, const QLoggingCategory& category)
{
    switch (level) {
    case Fatal:
    case Alert:
    case Crit:
    case Error:
        return qtLogger.critical(category);
    case Warn:
        return qtLogger.warning(category);
    case Notice:
    case Info:
        return qtLogger.info(category);
    default:
        return qtLogger.debug(category);
    }
}

class DefaultLogger final : public Logger
{
public:
    constexpr DefaultLogger() = default;

    void Destroy() override {}

private:
    Q_DISABLE_COPY(DefaultLogger)
};

NeverDestroyed<DefaultLogger> defaultLogger;
std::atomic<ILogger*> currentLogger{&defaultLogger.value};

/// Whether this thread is passing a line to Qt, whose messages come back to the current logger.
thread_local bool isReturning = false;

} // namespace

void Logger::Write(const IMessage& message)
{
    if (level < message.GetLevel()) {
        return;
    }
    const std::string suffix = SourceSuffix(*this, options, message);
    const Channel* channel = message.GetChannel();
    const char* channelName = channel != nullptr && channel->name != nullptr ? channel->name : "";

    const QLoggingCategory category(channelName, QtDebugMsg);
    const QMessageLogger qtLogger(nullptr, 0, nullptr);
    // A line that comes back already contains the time.
    const bool returns = std::exchange(isReturning, true);
    {
        QDebug stream = OpenQtStream(qtLogger, message.GetLevel(), category);
        if (!returns) {
            stream << QDateTime::currentDateTime()
                          .toString(QStringLiteral("yyyy.MM.dd HH:mm:ss.zzz:"))
                          .toStdString()
                          .c_str();
        }
        stream << message.GetText()->toStdString().c_str() << suffix.c_str();
    }
    isReturning = returns;
}

int Logger::GetLevel() const
{
    return level >= Fatal && level < NotSet ? level : NotSet;
}

void Logger::SetLevel(int level_)
{
    level = level_;
}

bool Logger::IsSourceShown() const
{
    return (options & Option::ShowSource) != 0;
}

void Logger::SetSourceShown(bool shown)
{
    options = shown ? options | Option::ShowSource : options & ~Option::ShowSource;
}

bool Logger::Configure(int level_, unsigned int targets_, unsigned int options_, const QString& /*pattern*/,
                       const QString& /*qtChannel*/, const QString& configFile, const QString& /*logFile*/,
                       const QString& /*shortLogFile*/, std::size_t /*maxFileSize*/, int /*maxBackups*/)
{
    targets = targets_;
    options = options_;
    if (!LoadConfiguration(configFile)) {
        SetLevel(level_);
    }
    return true;
}

bool Logger::LoadConfiguration(const QString& /*configFile*/)
{
    return false;
}

void Logger::SetFileLoggingEnabled(bool /*enabled*/) {}

ILogger* GetLogger()
{
    return currentLogger.load(std::memory_order_acquire);
}

ILogger* SetLogger(ILogger* logger)
{
    return currentLogger.exchange(logger, std::memory_order_acq_rel);
}

void DestroyLogger(ILogger* logger)
{
    if (logger != nullptr) {
        static_cast<ILoggerOperations*>(logger)->Destroy();
    }
}

} // namespace common::logger

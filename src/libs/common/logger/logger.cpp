#include <common/logger/logger.h>

#include "sourcesuffix.h"

#include <QDateTime>
#include <QDebug>
#include <QLoggingCategory>

#include <atomic>

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

/// The logger that is current from the start. Static, so Destroy leaves it alone.
class DefaultLogger final : public Logger
{
public:
    constexpr DefaultLogger() = default;

private:
    Q_DISABLE_COPY(DefaultLogger)

    void DoDestroy() override {}
};

/// Keeps the default logger from being destroyed: a late destructor may log through it.
union DefaultLoggerStorage {
    constexpr DefaultLoggerStorage()
        : logger()
    {}
    // A defaulted one would be deleted.
    ~DefaultLoggerStorage() {} // NOLINT(modernize-use-equals-default)

    DefaultLogger logger;
};

DefaultLoggerStorage defaultLogger;

std::atomic<ILogger*>& CurrentLogger()
{
    static std::atomic<ILogger*> current{&defaultLogger.logger};
    return current;
}

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
    const QString timestamp =
        QDateTime::currentDateTime().toString(QStringLiteral("yyyy.MM.dd HH:mm:ss.zzz:"));
    const QMessageLogger qtLogger(nullptr, 0, nullptr);
    OpenQtStream(qtLogger, message.GetLevel(), category)
        << timestamp.toStdString().c_str() << message.GetText()->toStdString().c_str() << suffix.c_str();
}

int Logger::GetLevel() const
{
    return level >= Fatal && level < NotSet ? level : NotSet;
}

void Logger::SetLevel(int newLevel)
{
    level = newLevel;
}

bool Logger::IsSourceShown() const
{
    return (options & ShowSource) != 0;
}

void Logger::SetSourceShown(bool shown)
{
    options = shown ? options | ShowSource : options & ~ShowSource;
}

bool Logger::Configure(int newLevel, unsigned int newTargets, unsigned int newOptions,
                       const QString& /*pattern*/, const QString& /*qtChannel*/, const QString& configFile,
                       const QString& /*logFile*/, const QString& /*shortLogFile*/,
                       std::size_t /*maxFileSize*/, int /*maxBackups*/)
{
    targets = newTargets;
    options = newOptions;
    if (!LoadConfiguration(configFile)) {
        SetLevel(newLevel);
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
    return CurrentLogger().load(std::memory_order_acquire);
}

ILogger* SetLogger(ILogger* logger)
{
    return CurrentLogger().exchange(logger, std::memory_order_acq_rel);
}

void DestroyLogger(ILogger* logger)
{
    if (logger != nullptr) {
        logger->DoDestroy();
    }
}

} // namespace common::logger

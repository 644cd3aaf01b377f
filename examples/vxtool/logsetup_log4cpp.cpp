#include "logsetup.h"

#include <common/logger/logger.h>

namespace vxtool
{

bool SetUpLog(const LogOptions& options)
{
    using namespace common;
    constexpr std::size_t maxFileSize = std::size_t{10} * 1024 * 1024;
    constexpr int maxBackups = 3;

    logger::ILogger* log = logger::GetLog4cpp();
    logger::SetLogger(log);
    const unsigned int sourceOptions =
        options.source ? logger::Option::ShowSource | logger::Option::ShowFunction : 0;
    return log->Configure(options.level, logger::Target::RollingFile,
                          logger::Option::PatternLayout | sourceOptions, QString(), QStringLiteral("qt"),
                          QString(), options.file, QString(), maxFileSize, maxBackups);
}

} // namespace vxtool

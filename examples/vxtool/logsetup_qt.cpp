#include "logsetup.h"

#include "output.h"

#include <common/logger/logger.h>

namespace vxtool
{

// Without log4cpp there are no log files: the lines go to standard error through Qt's own logging.
void SetUpLog(const LogOptions& options)
{
    using namespace common;
    if (!options.file.isEmpty()) {
        PrintError(QStringLiteral("vxtool: built without log4cpp, logging to standard error instead of %1")
                       .arg(options.file));
    }
    const unsigned int sourceOptions = options.source ? logger::ShowSource | logger::ShowFunction : 0;
    logger::GetLogger()->Configure(options.level, 0, sourceOptions, QString(), QString(), QString(),
                                   QString(), QString(), 0, 0);
}

} // namespace vxtool

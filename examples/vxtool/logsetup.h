#pragma once

#include <QString>

namespace vxtool
{

/// What the options --log, --log-level and --log-source ask for.
struct LogOptions
{
    QString file; ///< Empty for no log.
    int level = 0;
    bool source = false;
};

/// Makes the library's log go where `options` say; false if this build cannot write log files.
bool SetUpLog(const LogOptions& options);

} // namespace vxtool

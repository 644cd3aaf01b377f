#include "logsetup.h"

namespace vxtool
{

// A build without log4cpp has no log files.
bool SetUpLog(const LogOptions& /*options*/)
{
    return false;
}

} // namespace vxtool

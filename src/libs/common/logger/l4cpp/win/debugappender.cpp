#include "../debugappender.h"

#include <log4cpp/Win32DebugAppender.hh>

namespace common::logger::l4cpp
{

std::unique_ptr<log4cpp::Appender> CreateDebugAppender()
{
    return std::make_unique<log4cpp::Win32DebugAppender>("win32debug");
}

} // namespace common::logger::l4cpp

#pragma once

#include <memory>

namespace log4cpp
{
class Appender;
}

namespace common::logger::l4cpp
{

/// Creates the appender "win32debug". It writes to the debugger on Windows and to standard error
/// elsewhere.
std::unique_ptr<log4cpp::Appender> CreateDebugAppender();

} // namespace common::logger::l4cpp

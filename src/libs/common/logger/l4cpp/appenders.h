#pragma once

#include <QString>

#include <cstddef>
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

// Child processes do not inherit the files. If a file cannot be opened, its lines are dropped.

/// Creates the appender "file", which appends to the file `path`.
std::unique_ptr<log4cpp::Appender> CreateFileAppender(const QString& path);

/// Creates an appender called `name` that appends to the file `path` and rolls it over at `maxFileSize`
/// bytes.
std::unique_ptr<log4cpp::Appender> CreateRollingFileAppender(const char* name, const QString& path,
                                                             std::size_t maxFileSize,
                                                             unsigned int maxBackups);

/// Calls log4cpp::PropertyConfigurator::configure, which throws if the file cannot be read or is invalid.
void LoadPropertyFile(const QString& path);

} // namespace common::logger::l4cpp

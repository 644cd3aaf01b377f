#pragma once

#include <string>

namespace common::logger
{

class ILogger;
class IMessage;

/// The source location behind a line: " (FUNCTION: file: PATH(LINE))", or empty if `logger` does not show it.
std::string SourceSuffix(const ILogger& logger, unsigned int options, const IMessage& message);

} // namespace common::logger

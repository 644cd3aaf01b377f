#pragma once

#include <string>

namespace common::logger
{

class ILogger;
class IMessage;

/// Returns the source location to append to a line: " (FUNCTION: file: PATH(LINE))". Empty if `logger` does
/// not show source locations.
std::string SourceSuffix(const ILogger& logger, unsigned int options, const IMessage& message);

} // namespace common::logger

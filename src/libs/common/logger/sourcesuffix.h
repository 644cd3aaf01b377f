#pragma once

#include <string>

namespace common::logger
{

class ILogger;
class IMessage;

/// Returns the source location that ends a line, " (FUNCTION: file: PATH(LINE))". Empty if `logger` does not
/// show it.
std::string SourceSuffix(const ILogger& logger, unsigned int options, const IMessage& message);

} // namespace common::logger

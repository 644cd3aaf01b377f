#include "sourcesuffix.h"

#include <common/logger/logger.h>

namespace common::logger
{

std::string SourceSuffix(const ILogger& logger, unsigned int options, const IMessage& message)
{
    std::string suffix;
    if (!logger.IsSourceShown() || message.GetFile() == nullptr) {
        return suffix;
    }
    suffix += " (";
    if ((options & Option::ShowFunction) != 0 && message.GetFunction() != nullptr) {
        suffix += message.GetFunction();
        suffix += ": ";
    }
    suffix += "file: ";
    suffix += message.GetFile();
    suffix += '(';
    suffix += std::to_string(message.GetLine());
    suffix += "))";
    return suffix;
}

} // namespace common::logger

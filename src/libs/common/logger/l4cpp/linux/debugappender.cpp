#include "../debugappender.h"

#include <log4cpp/OstreamAppender.hh>

#include <iostream>

namespace common::logger::l4cpp
{

std::unique_ptr<log4cpp::Appender> CreateDebugAppender()
{
    return std::make_unique<log4cpp::OstreamAppender>("win32debug", &std::cerr);
}

} // namespace common::logger::l4cpp

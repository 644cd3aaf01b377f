#include <common/logger/logger.h>

#include <QIODevice>

namespace common::logger
{

// The string is constructed after the QTextStream, whose constructor only stores the address.
Message::Stream::Stream()
    : QTextStream(&text, QIODevice::ReadWrite)
{}

Message::Message(ILogger* logger_, const Channel* channel_, int level_, const char* file_,
                 const char* function_, int line_)
    : logger(logger_)
    , channel(channel_)
    , level(level_)
    , file(file_)
    , function(function_)
    , line(line_)
{}

Message::~Message()
{
    if (level < NotSet && logger != nullptr) {
        logger->Write(*this);
    }
}

} // namespace common::logger

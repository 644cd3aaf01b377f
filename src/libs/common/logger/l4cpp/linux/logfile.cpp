#include "../logfile.h"

#include <log4cpp/FileAppender.hh>
#include <log4cpp/PropertyConfigurator.hh>
#include <log4cpp/RollingFileAppender.hh>

#include <utility>

#include <fcntl.h>

namespace common::logger::l4cpp
{

namespace
{

constexpr mode_t logFileMode = 0644;

std::string LocalPath(const QString& path)
{
    return path.toLocal8Bit().toStdString();
}

/// Opens the file again after log4cpp's constructor, because that offers no way to pass a flag.
template<typename Base>
class CloseOnExec final : public Base
{
public:
    template<typename... Arguments>
    explicit CloseOnExec(Arguments&&... arguments)
        : Base(std::forward<Arguments>(arguments)...)
    {
        this->_flags |= O_CLOEXEC;
        this->reopen();
    }
};

} // namespace

std::unique_ptr<log4cpp::Appender> CreateFileAppender(const QString& path)
{
    return std::make_unique<CloseOnExec<log4cpp::FileAppender>>("file", LocalPath(path), true, logFileMode);
}

std::unique_ptr<log4cpp::Appender> CreateRollingFileAppender(const char* name, const QString& path,
                                                             std::size_t maxFileSize, unsigned int maxBackups)
{
    return std::make_unique<CloseOnExec<log4cpp::RollingFileAppender>>(name, LocalPath(path), maxFileSize,
                                                                       maxBackups, true, logFileMode);
}

void LoadPropertyFile(const QString& path)
{
    log4cpp::PropertyConfigurator::configure(LocalPath(path));
}

} // namespace common::logger::l4cpp

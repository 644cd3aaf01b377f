#include "../appenders.h"

#include <log4cpp/FileAppender.hh>
#include <log4cpp/OstreamAppender.hh>
#include <log4cpp/PropertyConfigurator.hh>
#include <log4cpp/RollingFileAppender.hh>

#include <iostream>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

namespace common::logger::l4cpp
{

namespace
{

constexpr mode_t logFileMode = 0644;

std::string LocalPath(const QString& path)
{
    return path.toLocal8Bit().toStdString();
}

/// Reopens the file with O_CLOEXEC, because log4cpp's constructor accepts no flags. After a rollover, the new
/// file gets the permissions of the first one, which may be private.
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
        struct stat status = {};
        if (::fstat(this->_fd, &status) == 0) {
            this->_mode = status.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO);
        }
    }
};

} // namespace

std::unique_ptr<log4cpp::Appender> CreateDebugAppender()
{
    return std::make_unique<log4cpp::OstreamAppender>("win32debug", &std::cerr);
}

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

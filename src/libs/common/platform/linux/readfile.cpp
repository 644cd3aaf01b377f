#include "readfile.h"

#include "filedescriptor.h"

#include <QFile>

#include <array>
#include <cerrno>

#include <fcntl.h>

namespace common::platform
{

std::optional<QByteArray> ReadFile(const QString& path)
{
    // Do not block if the path names a pipe.
    const FileDescriptor file(::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    QByteArray content;
    std::array<char, 16384> buffer{};
    ssize_t count = -1;
    while (file.IsOpen() &&
           (count = TEMP_FAILURE_RETRY(::read(file.Get(), buffer.data(), buffer.size()))) > 0) {
        content.append(buffer.data(), count);
    }
    return count == 0 ? std::optional(content) : std::nullopt;
}

std::optional<QByteArray> ReadFileIfAny(const QString& path)
{
    std::optional<QByteArray> content = ReadFile(path);
    return content || errno != ENOENT ? content : QByteArray();
}

} // namespace common::platform

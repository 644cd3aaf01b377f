#include "../appenders.h"

#include <log4cpp/FileAppender.hh>
#include <log4cpp/PropertyConfigurator.hh>
#include <log4cpp/RollingFileAppender.hh>
#include <log4cpp/Win32DebugAppender.hh>

#include <QFile>
#include <QTemporaryDir>

#include <array>
#include <optional>

#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>
#include <windows.h>

namespace common::logger::l4cpp
{

namespace
{

// log4cpp expects file names in the ANSI code page, which lacks most letters. The classes below therefore
// open and rename the files themselves; log4cpp's constructor gets the null device.
constexpr char nullDevice[] = "NUL";

const wchar_t* Wide(const QString& path)
{
    return reinterpret_cast<const wchar_t*>(path.utf16());
}

/// Opens a file in text mode as log4cpp does, but without inheritance by child processes. On failure, opens
/// the null device: the C library of Visual C++ ends a program that writes to descriptor -1.
int OpenLogFile(const QString& path)
{
    constexpr int flags = _O_WRONLY | _O_CREAT | _O_APPEND | _O_TEXT | _O_NOINHERIT;
    constexpr int mode = _S_IREAD | _S_IWRITE;
    int descriptor = -1;
    if (_wsopen_s(&descriptor, Wide(path), flags, _SH_DENYNO, mode) != 0) {
        _sopen_s(&descriptor, nullDevice, flags, _SH_DENYNO, mode);
    }
    return descriptor;
}

/// Makes a log4cpp file appender open its file by a wide-character name.
template<typename Base>
class WideNamed : public Base
{
public:
    template<typename... Arguments>
    explicit WideNamed(const char* name, const QString& path_, Arguments... arguments)
        : Base(name, nullDevice, arguments...)
        , path(path_)
    {
        Base::close();
        this->_fd = OpenLogFile(path);
    }

    bool reopen() override
    {
        Base::close();
        this->_fd = OpenLogFile(path);
        return true;
    }

protected:
    const QString path;
};

class RollingFile final : public WideNamed<log4cpp::RollingFileAppender>
{
public:
    using WideNamed::WideNamed;

    void rollOver() override
    {
        close();
        // Move the log first: if another program has it open, the move fails and the backups stay unchanged.
        if (Move(path, BackupPath(0))) {
            for (unsigned int index = getMaxBackupIndex(); index > 0; --index) {
                Move(BackupPath(index - 1), BackupPath(index));
            }
        }
        reopen();
    }

private:
    static bool Move(const QString& source, const QString& destination)
    {
        return MoveFileExW(Wide(source), Wide(destination), MOVEFILE_REPLACE_EXISTING) != 0;
    }

    /// Returns a backup's name as log4cpp forms it: PATH.1, or PATH.01 if there are ten backups or more.
    QString BackupPath(unsigned int index) const
    {
        return path + QStringLiteral(".%1").arg(index, _maxBackupIndexWidth, 10, QLatin1Char('0'));
    }
};

/// Returns the name of an existing file in the ANSI code page; empty if the file has no such name.
QByteArray AnsiName(const QString& path)
{
    const QByteArray name = path.toLocal8Bit();
    if (QString::fromLocal8Bit(name) == path) {
        return name;
    }
    std::array<wchar_t, MAX_PATH> shortPath{};
    const DWORD length = GetShortPathNameW(Wide(path), shortPath.data(), MAX_PATH);
    const QString shortName = QString::fromWCharArray(shortPath.data(), length < MAX_PATH ? length : 0);
    const QByteArray ansiName = shortName.toLocal8Bit();
    return QString::fromLocal8Bit(ansiName) == shortName ? ansiName : QByteArray();
}

} // namespace

std::unique_ptr<log4cpp::Appender> CreateDebugAppender()
{
    return std::make_unique<log4cpp::Win32DebugAppender>("win32debug");
}

std::unique_ptr<log4cpp::Appender> CreateFileAppender(const QString& path)
{
    return std::make_unique<WideNamed<log4cpp::FileAppender>>("file", path);
}

std::unique_ptr<log4cpp::Appender> CreateRollingFileAppender(const char* name, const QString& path,
                                                             std::size_t maxFileSize, unsigned int maxBackups)
{
    return std::make_unique<RollingFile>(name, path, maxFileSize, maxBackups);
}

void LoadPropertyFile(const QString& path)
{
    QByteArray name = AnsiName(path);
    std::optional<QTemporaryDir> directory;
    if (name.isEmpty()) {
        // The volume has no short names. %TEMP% is on the system volume, which has them.
        const QString copy = directory.emplace().filePath(QStringLiteral("log4cpp.properties"));
        QFile::copy(path, copy);
        name = AnsiName(copy);
    }
    log4cpp::PropertyConfigurator::configure(name.toStdString());
}

} // namespace common::logger::l4cpp

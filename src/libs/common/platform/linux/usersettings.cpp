#include "../usersettings.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QThread>

#include <cerrno>
#include <chrono>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace common::platform
{

namespace
{

/// A writer is done in milliseconds. After this one has been stopped, and the others go on without it.
constexpr std::chrono::seconds lockLimit{10};
constexpr unsigned long lockRetryInterval = 10; // ms; short against what a writer takes.

QString SettingsFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QLatin1String("/vxcommon");
}

void MakeSettingsFolder()
{
    const QString folder = SettingsFolder();
    QDir().mkpath(QFileInfo(folder).path());
    QDir().mkdir(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

/// Keeps other writers out, in this process and in others, until it dies; the kernel ends it with the
/// process.
class WriterLock
{
public:
    explicit WriterLock(UserSettingsAccess access)
    {
        if (access == UserSettingsAccess::Read) {
            return;
        }
        MakeSettingsFolder();
        const QByteArray path = QFile::encodeName(SettingsFolder() + QLatin1String("/registry.writer"));
        descriptor = open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
        const QDeadlineTimer deadline(lockLimit);
        while (descriptor >= 0 && flock(descriptor, LOCK_EX | LOCK_NB) != 0 &&
               (errno == EWOULDBLOCK || errno == EINTR) && !deadline.hasExpired()) {
            QThread::msleep(lockRetryInterval);
        }
    }
    ~WriterLock()
    {
        if (descriptor >= 0) {
            close(descriptor);
        }
    }
    WriterLock(const WriterLock&) = delete;
    WriterLock& operator=(const WriterLock&) = delete;

private:
    int descriptor = -1;
};

/// The lock is the first base, so that it outlives the last write of the settings.
class UserSettings : private WriterLock, public QSettings
{
public:
    explicit UserSettings(UserSettingsAccess access)
        : WriterLock(access)
        , QSettings(SettingsFolder() + QLatin1String("/registry.ini"), QSettings::IniFormat)
    {}
};

} // namespace

std::unique_ptr<QSettings> OpenUserSettings(const QString& path, UserSettingsAccess access)
{
    auto settings = std::make_unique<UserSettings>(access);
    const qsizetype separator = path.indexOf(u'/');
    if (separator >= 0) {
        settings->beginGroup(path.mid(separator + 1));
    }
    return settings;
}

} // namespace common::platform

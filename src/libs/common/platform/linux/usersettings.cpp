#include "../usersettings.h"

#include "filedescriptor.h"
#include "readfile.h"
#include "xdg.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QThread>
#include <QUuid>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace common::platform
{

namespace
{

/// Maximum wait for another writer that makes no progress. Short, because the caller may be a GUI thread.
constexpr std::chrono::seconds lockLimit{1};
constexpr unsigned long lockRetryInterval = 2; // ms

QString Directory()
{
    return xdg::ConfigHome() + QLatin1String("/vxcommon");
}

QString StorePath()
{
    return Directory() + QLatin1String("/registry.ini");
}

/// Locks out other writers until the returned descriptor is closed. On failure, the descriptor is not open.
FileDescriptor LockForWriting()
{
    xdg::MakePrivatePath(Directory());
    const QString path = Directory() + QLatin1String("/registry.writer");
    FileDescriptor lock(
        ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR));
    QDeadlineTimer deadline(lockLimit);
    QDateTime seen;
    while (lock.IsOpen() && ::flock(lock.Get(), LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        const QDateTime stamp = QFileInfo(path).lastModified();
        if (stamp != seen) {
            seen = stamp;
            deadline.setRemainingTime(lockLimit);
        }
        if ((error != EWOULDBLOCK && error != EINTR) || deadline.hasExpired()) {
            lock.Close();
        } else {
            QThread::msleep(lockRetryInterval);
        }
    }
    return lock;
}

/**
 * QSettings keeps changes that it could not write, and passes them to the next object for the same file.
 * Therefore each edit works on a copy with a unique name.
 */
class SettingsWriter final : public UserSettings
{
public:
    explicit SettingsWriter(const QString& group_)
        : lock(LockForWriting())
        , group(group_)
    {
        BeginEdit();
    }
    ~SettingsWriter() override { EndEdit(); }

    /// QSaveFile checks the file and its directory.
    bool IsWritable() const override { return hasCopy && QSaveFile(storePath).open(QIODevice::WriteOnly); }
    QString FileName() const override { return StorePath(); }

    QSettings::Status Save() override
    {
        tree->sync();
        QSettings::Status status = tree->status();
        if (status == QSettings::NoError && !ReplaceStore()) {
            status = QSettings::AccessError;
        }
        EndEdit();
        BeginEdit();
        return status;
    }

private:
    void BeginEdit()
    {
        ::futimens(lock.Get(), nullptr); // Shows waiting writers that this one is still active.
        const QFileInfo store(StorePath());
        storePath = store.exists() ? store.canonicalFilePath() : StorePath(); // The store may be a link.
        copyPath = storePath + u'.' + QUuid::createUuid().toString(QUuid::WithoutBraces);
        stored = ReadFileIfAny(storePath);
        hasCopy = lock.IsOpen() && stored && (stored->isEmpty() || Copy(*stored));
        tree = std::make_unique<QSettings>(copyPath, QSettings::IniFormat);
        tree->beginGroup(group);
    }

    void EndEdit()
    {
        tree.reset(); // QSettings writes unsaved changes to the copy.
        QFile::remove(copyPath);
    }

    bool Copy(const QByteArray& content) const
    {
        QFile file(copyPath);
        return file.open(QIODevice::WriteOnly | QIODevice::NewOnly) &&
               file.setPermissions(QFile::permissions(storePath)) && file.write(content) == content.size() &&
               file.flush();
    }

    bool ReplaceStore() const
    {
        const std::optional<QByteArray> edited = ReadFileIfAny(copyPath); // Without keys, no file exists.
        if (!hasCopy || !edited || *edited == stored) {
            return hasCopy && edited;
        }
        return IsWritable() && MakeCopyNewer() &&
               ::rename(QFile::encodeName(copyPath).constData(), QFile::encodeName(storePath).constData()) ==
                   0;
    }

    /// QSettings reads a file again only if its size or its time stamp (in milliseconds) has changed.
    bool MakeCopyNewer() const
    {
        const QDateTime oldTime = QFileInfo(storePath).lastModified();
        const QDateTime now = QDateTime::currentDateTime();
        QFile copy(copyPath);
        return copy.open(QIODevice::ReadWrite) &&
               copy.setFileTime(oldTime.isValid() ? std::max(now, oldTime.addMSecs(1)) : now,
                                QFileDevice::FileModificationTime);
    }

    FileDescriptor lock;
    QString group;
    QString storePath;
    QString copyPath;
    std::optional<QByteArray> stored; ///< Content of the store when the edit began.
    bool hasCopy = false;
};

} // namespace

std::unique_ptr<QSettings> ReadUserSettings(const QString& path)
{
    auto tree = std::make_unique<QSettings>(StorePath(), QSettings::IniFormat);
    tree->beginGroup(path.section(u'/', 1));
    return tree;
}

std::unique_ptr<UserSettings> EditUserSettings(const QString& path)
{
    return std::make_unique<SettingsWriter>(path.section(u'/', 1));
}

} // namespace common::platform

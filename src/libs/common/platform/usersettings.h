#pragma once

#include <QSettings>
#include <QString>

#include <memory>

namespace common::platform
{

enum class UserSettingsAccess
{
    Read,
    Write
};

/**
 * The settings tree of the user: the registry on Windows, the same keys in one INI file on Linux.
 *
 * On Linux the file is "vxcommon/registry.ini" in the XDG configuration directory. A writer edits a copy, and
 * only Save makes the changes visible, all at the same time. Other writers, in this process and in other
 * processes, wait until the object is destroyed.
 */
class UserSettings
{
public:
    virtual ~UserSettings() = default;

    /// Returns the tree below the opened path. The reference is valid until the next Save.
    QSettings& Tree() const { return *tree; }

    /// Returns whether Save is expected to succeed.
    virtual bool IsWritable() const = 0;

    /// Returns the location of the tree for log lines.
    virtual QString FileName() const = 0;

    /// Writes the changes since the last Save. On Linux, changes that cannot be written are discarded.
    virtual QSettings::Status Save() = 0;

protected:
    UserSettings() = default;

    std::unique_ptr<QSettings> tree;

private:
    Q_DISABLE_COPY(UserSettings)
};

/**
 * Opens the settings tree. With write access, waits for other writers as long as they make progress. If
 * another writer makes no progress for 1 s, the tree is not writable.
 *
 * @param path "HKEY_CURRENT_USER" or a key below it, with native separators
 */
std::unique_ptr<UserSettings> OpenUserSettings(const QString& path, UserSettingsAccess access);

} // namespace common::platform

#pragma once

#include <QSettings>
#include <QString>

#include <memory>

namespace common::platform
{

/**
 * Edits the settings tree of the user: the registry on Windows, the same keys in one INI file on Linux.
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

/// Opens the settings tree for reading at `path`: the root or a key below it, with native separators.
std::unique_ptr<QSettings> ReadUserSettings(const QString& path = QStringLiteral("HKEY_CURRENT_USER"));

/// Opens the settings tree for writing at `path`. Waits for other writers as long as they make progress. If
/// another writer makes no progress for 1 s, the tree is not writable.
std::unique_ptr<UserSettings> EditUserSettings(const QString& path = QStringLiteral("HKEY_CURRENT_USER"));

} // namespace common::platform

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
 * Opens the user's settings tree: the registry on Windows, the same keys in one INI file on Linux.
 *
 * On Linux the file is "vxcommon/registry.ini" in XDG_CONFIG_HOME. Whoever opens the tree for writing keeps
 * other writers waiting until the object dies, so that nothing of what two processes write at once is lost.
 *
 * @param path "HKEY_CURRENT_USER" or a key below it, with native separators
 */
std::unique_ptr<QSettings> OpenUserSettings(const QString& path, UserSettingsAccess access);

} // namespace common::platform

#pragma once

#include <QString>
#include <QStringList>

/// The XDG base and user directories. An environment variable that does not hold an absolute path is
/// ignored.
namespace common::platform::xdg
{

QString ConfigHome();       ///< XDG_CONFIG_HOME, or ~/.config.
QString DataHome();         ///< XDG_DATA_HOME, or ~/.local/share.
QString ApplicationsHome(); ///< Directory of the user's desktop entries.
QString DesktopDirectory(); ///< The user directory DESKTOP, or ~/Desktop.

/// Returns the directories of desktop entries, starting with the user's.
QStringList ApplicationsDirectories();

/// Creates a directory and its missing parents, accessible only to the user.
void MakePrivatePath(const QString& path);

} // namespace common::platform::xdg

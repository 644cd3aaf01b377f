#pragma once

#include "../platform/usersettings.h"
#include "protocolkeys.h"

#include <QStringList>

#include <memory>

/// Applies the registrations in the settings tree of the user to the desktop.
namespace common::urlhandlers
{

/// Returns the handler that the user has chosen for a scheme, also outside of the settings tree: a program
/// identifier, or a string that is not an identifier of `owner`. Empty if there is no choice.
QString UserChoice(const QSettings& settings, const QString& protocol, const protocolkeys::Owner& owner);

/// Notifies the desktop of changed schemes, and closes the settings. `chosen` are the schemes that `owner`
/// becomes the default handler of.
void NotifyChanged(std::unique_ptr<platform::UserSettings> settings, const protocolkeys::Owner& owner,
                   const QStringList& chosen);

} // namespace common::urlhandlers

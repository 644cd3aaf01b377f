#pragma once

#include "../platform/usersettings.h"
#include "protocolkeys.h"

#include <QStringList>

#include <memory>

/// Applies the registrations in the settings tree of the user to the desktop.
namespace common::urlhandlers
{

/// Returns the handler that the user has chosen for a scheme, in the settings tree or on the desktop. The
/// result is a program identifier, or a string that is not an identifier of `owner`; empty if the user has
/// chosen none.
QString UserChoice(const QSettings& settings, const QString& protocol, const protocolkeys::Owner& owner);

/// Notifies the desktop of changed schemes and closes `settings`. `chosen` lists the schemes for which
/// `owner` becomes the default handler.
void NotifyChanged(std::unique_ptr<platform::UserSettings> settings, const protocolkeys::Owner& owner,
                   const QStringList& chosen);

} // namespace common::urlhandlers

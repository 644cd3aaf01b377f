#pragma once

#include <QSettings>
#include <QString>
#include <QStringList>

/// What a desktop does with the registrations in the user's settings tree.
namespace common::urlhandlers
{

/// The handler that the user has chosen for a scheme, past the settings tree too: a program identifier, or a
/// text that is none of the application's own; empty if there is no choice.
QString UserChoice(const QSettings& settings, const QString& protocol, const QString& application,
                   const QString& organization);

/// Tells the desktop that the application's schemes have changed. `chosen` are those that it is to be the
/// default for from now on.
void NotifyChanged(QSettings& settings, const QString& application, const QString& organization,
                   const QStringList& chosen);

} // namespace common::urlhandlers

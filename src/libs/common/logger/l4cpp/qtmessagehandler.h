#pragma once

#include <QString>

namespace common::logger::l4cpp
{

/// Sets the name of the channel of Qt's own messages; empty by default.
void SetQtChannel(const QString& name);

/// Reinstalls the Qt message handler that this library's handler replaced.
void RestoreQtMessageHandler();

} // namespace common::logger::l4cpp

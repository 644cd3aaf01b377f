#pragma once

#include <QString>

namespace common::logger::l4cpp
{

/// Sets the channel name for Qt's own messages (default: empty).
void SetQtChannel(const QString& name);

/// Reinstalls the Qt message handler that this library's handler replaced.
void RestoreQtMessageHandler();

} // namespace common::logger::l4cpp

#pragma once

#include <QString>

namespace common::logger::l4cpp
{

/// Sets the channel name that Qt's own messages arrive on; empty at start.
void SetQtChannel(const QString& name);

/// Puts back the Qt message handler that was in force before the library was loaded.
void RestoreQtMessageHandler();

} // namespace common::logger::l4cpp

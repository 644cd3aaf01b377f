#include "../urlhandlers.h"

#include <qt_windows.h>
#include <shlobj.h>

namespace common::urlhandlers
{

QString UserChoice(const QSettings& settings, const QString& protocol, const protocolkeys::Owner& /*owner*/)
{
    return settings.value(protocolkeys::UserChoice(protocol)).toString();
}

void NotifyChanged(std::unique_ptr<platform::UserSettings> /*settings*/, const protocolkeys::Owner& /*owner*/,
                   const QStringList& /*chosen*/)
{
    // Kept for compatibility: the flags repeat the event id.
    SHChangeNotify(SHCNE_ASSOCCHANGED, SHCNE_ASSOCCHANGED, nullptr, nullptr);
}

} // namespace common::urlhandlers

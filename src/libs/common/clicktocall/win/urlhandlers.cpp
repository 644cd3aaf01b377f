#include "../urlhandlers.h"

#include "../protocolkeys.h"

#include <qt_windows.h>
#include <shlobj.h>

namespace common::urlhandlers
{

QString UserChoice(const QSettings& settings, const QString& protocol, const QString& /*application*/,
                   const QString& /*organization*/)
{
    return settings.value(protocolkeys::UserChoice(protocol)).toString();
}

void NotifyChanged(QSettings& /*settings*/, const QString& /*application*/, const QString& /*organization*/,
                   const QStringList& /*chosen*/)
{
    // The number of the event stands in the place of the flags, too. This is meant.
    SHChangeNotify(SHCNE_ASSOCCHANGED, SHCNE_ASSOCCHANGED, nullptr, nullptr);
}

} // namespace common::urlhandlers

#pragma once

#include <common/vxcommon_export.h>

#include <QList>
#include <QString>

namespace common
{

/**
 * Makes the program the handler of URL schemes such as "tel" for the current user, and tells which of them it
 * still is.
 *
 * A clicked address starts the running program's executable with the arguments "--callto" and the address.
 * Windows: classes, Default Programs capabilities and user choice below HKEY_CURRENT_USER, and
 * SHChangeNotify. Linux: the same keys in an INI file, and from them a desktop entry for the schemes and the
 * defaults in the user's mimeapps.list (freedesktop.org "Association between MIME types and applications").
 *
 * Everything runs on the calling thread; any thread may call. Nothing is checked: a scheme that is in none of
 * the lists is registered like any other, and names become parts of keys as they are. A write that fails is
 * an Error line on the channel "common.clicktocall" and the result false; the rest is done all the same.
 */
class VXCOMMON_EXPORT ClickToCall
{
public:
    ClickToCall() = delete;

    /// The schemes that the client knows of: callto, tel, sip, sms, fax.
    static QList<QString> availableProtocols();

    /// Those of them that the client offers today: callto, tel, sip.
    static QList<QString> currentAvailableProtocols();

    /**
     * Makes the running program the handler of `protocols`, also of those that another handler was chosen
     * for. Needs a QCoreApplication.
     *
     * @return whether the settings were written; true for an empty list, with nothing done
     */
    static bool registerProtocols(const QList<QString>& protocols, const QString& application,
                                  const QString& organization);

    /**
     * Gives `protocols` up. A choice of another handler stays, and so do on Windows the keys of the schemes
     * themselves, without icon and command.
     *
     * @return as for registerProtocols
     */
    static bool unregisterProtocols(const QList<QString>& protocols, const QString& application,
                                    const QString& organization);

    /**
     * Removes the application itself, with everything below its key Software/ORGANIZATION/APPLICATION; no
     * scheme counts as its own after that. The keys of the schemes stay: unregister them first.
     *
     * Two empty names make that key "Software" itself: there is no guard, and this is meant.
     */
    static bool unregisterApplication(const QString& application, const QString& organization);

    /// The availableProtocols() that are registered for the client and that no other handler was chosen for.
    static QList<QString> stateOfProtocols(const QString& application, const QString& organization);
};

} // namespace common

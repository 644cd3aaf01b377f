#pragma once

#include <common/vxcommon_export.h>

#include <QList>
#include <QString>

namespace common
{

/**
 * Makes the program the handler of URL schemes such as "tel" for the current user, and reports for which
 * schemes it still is the handler.
 *
 * A clicked address starts the executable of the running program with the arguments "--callto" and the
 * address. Windows: classes, Default Programs capabilities and user choice below HKEY_CURRENT_USER, and
 * SHChangeNotify. Linux: the same keys in an INI file; from them a desktop entry for the schemes and the
 * defaults in the mimeapps.list of the user (freedesktop.org "Association between MIME types and
 * applications").
 *
 * Blocks the calling thread, and can be called from any thread. Does not check its arguments: registers any
 * scheme, even one that availableProtocols() does not return, and inserts names into keys verbatim.
 *
 * If a write fails, the function writes an Error line on the channel "common.clicktocall" and continues with
 * the rest. It returns false only if the settings could not be written. On Linux that also happens if a
 * process that was stopped holds the store for more than 1 s.
 */
class VXCOMMON_EXPORT ClickToCall
{
public:
    ClickToCall() = delete;

    /// Returns the schemes that the client supports: callto, tel, sip, sms, fax.
    static QList<QString> availableProtocols();

    /// Returns the schemes that the client offers at present: callto, tel, sip.
    static QList<QString> currentAvailableProtocols();

    /**
     * Makes the running program the handler of `protocols`, even if the user has chosen another handler.
     * Requires a QCoreApplication.
     *
     * @return whether the settings were written; true for an empty list, which changes nothing
     */
    static bool registerProtocols(const QList<QString>& protocols, const QString& application,
                                  const QString& organization);

    /**
     * Unregisters `protocols`. Keeps a choice of another handler, and the keys of the schemes themselves,
     * without icon and command.
     *
     * @return whether the settings were written; true for an empty list, which changes nothing
     */
    static bool unregisterProtocols(const QList<QString>& protocols, const QString& application,
                                    const QString& organization);

    /**
     * Removes the application with everything below its key Software/ORGANIZATION/APPLICATION. After that
     * stateOfProtocols() is empty. The keys of the schemes stay: unregister them first.
     *
     * @warning An empty name widens what is removed. Without `application` it is everything of the
     * organization and the list of all registered applications of the user; without both names it is the
     * whole tree "Software". Kept for compatibility: there is no guard.
     */
    static bool unregisterApplication(const QString& application, const QString& organization);

    /// Returns those availableProtocols() that are registered for the client, unless the user has chosen
    /// another handler.
    static QList<QString> stateOfProtocols(const QString& application, const QString& organization);
};

} // namespace common

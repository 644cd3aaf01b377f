#pragma once

#include <common/vxcommon_export.h>

#include <QList>
#include <QString>

namespace common
{

/**
 * Makes the program the current user's handler of URL schemes such as "tel", and reports which schemes it
 * handles.
 *
 * Clicking a link starts the registered executable with the arguments "--callto" and the address. Windows:
 * writes classes, Default Programs capabilities and the user choice below HKEY_CURRENT_USER, and calls
 * SHChangeNotify. Linux: writes the same keys to an INI file. From these keys, derives a desktop entry and
 * the defaults in the user's mimeapps.list (freedesktop.org "Association between MIME types and
 * applications").
 *
 * The functions are thread-safe and may block the calling thread. They do not check their arguments: any
 * scheme is registered, even one that availableProtocols() does not return. Names are inserted into keys
 * verbatim.
 *
 * If a write fails, the function logs an Error line on the channel "common.clicktocall" and continues. It
 * returns false only if the settings could not be written. On Linux, the settings cannot be written while
 * another process locks them and makes no progress for 1 s.
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
     * Unregisters `protocols`. If the user has chosen another handler, keeps that choice. Keeps the keys of
     * the schemes, but clears their icon and command.
     *
     * @return whether the settings were written; true for an empty list, which changes nothing
     */
    static bool unregisterProtocols(const QList<QString>& protocols, const QString& application,
                                    const QString& organization);

    /**
     * Removes the application and everything below its key Software/ORGANIZATION/APPLICATION. Afterwards,
     * stateOfProtocols() returns an empty list. Does not remove the keys of the schemes: call
     * unregisterProtocols() first.
     *
     * @warning If `application` is empty, removes all keys of the organization and the user's list of
     * registered applications. If both names are empty, removes the whole tree "Software". Kept for
     * compatibility: empty names are not rejected.
     */
    static bool unregisterApplication(const QString& application, const QString& organization);

    /// Returns those of availableProtocols() that are registered for the application, except those for which
    /// the user has chosen another handler.
    static QList<QString> stateOfProtocols(const QString& application, const QString& organization);
};

} // namespace common

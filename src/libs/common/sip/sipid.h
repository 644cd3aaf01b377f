#pragma once

#include <common/vxcommon_export.h>

#include <QRegExp>
#include <QString>

namespace tools::sip
{

/**
 * What SIP identifiers and phone numbers look like, and the parser that takes an address text apart.
 *
 * The patterns are meant for QRegExp::exactMatch and ignore case. Each call returns a copy, so a caller may
 * match on it at will. Thread-safe; nothing here logs or throws.
 */
class VXCOMMON_EXPORT SipId
{
public:
    SipId() = delete;

    /// What Check finds.
    enum Error : int
    {
        NoError = 0, ///< A valid identifier of the service.
        /// Every symbol may stand in an identifier, but this is none of the service's own: incomplete or
        /// foreign.
        FormatError = 1,
        SymbolError = 2, ///< A symbol that is not allowed, in the whole text or in the domain.
        LengthError = 3  ///< Empty, or longer than an identifier may be.
    };

    static QRegExp AllSymbolRegExp();  ///< One or more of the symbols of AllSymbols.
    static QRegExp SymbolRegExp();     ///< Up to 255 symbols and a port that may be unfinished; for typing.
    static QRegExp FormatRegExp();     ///< An identifier of the service with an optional port.
    static QRegExp QuollSipIDRegExp(); ///< As FormatRegExp, but two ports in a row pass; this is meant.
    /// A name-addr (RFC 3261, 25.1): `"NAME" <sip:USER@HOST:PORT;PARAMETERS>`.
    static QRegExp URIRegExp();
    static QRegExp IDRegExp();            ///< `USER@HOST:PORT` of any domain, with trailing dial digits.
    static QRegExp IDWithoutPortRegExp(); ///< As IDRegExp, without a port.
    static QRegExp SkypeURIRegExp();      ///< "skype:NAME", with or without the Skype domain.
    static QRegExp SkypeIDRegExp();       ///< NAME@ the Skype domain, short or long.
    static QRegExp PhoneNumberRegExp();   ///< Digits, "*" and "#", with trailing dial digits.
    static QRegExp SIPUserRegExp();       ///< A user part alone.
    /// Digits and the separators of written phone numbers; may be empty.
    static QRegExp NumericNumberRegExp();
    static QRegExp NumericSipRegExp(); ///< As NumericNumberRegExp, beginning with "000".

    /// The inside of the character class of AllSymbolRegExp, for a class of the caller's own.
    static QString AllSymbols();

    /// Tells whether `id` is an identifier of the service and, if not, what is wrong with it.
    static Error Check(const QString& id);

    /// True if Check finds no error.
    static bool IsValid(const QString& id);

    /**
     * Splits an address text: a name-addr, a SIP identifier, a Skype address, a phone number or a lone user
     * name.
     *
     * @param uri the text; white space around it is ignored
     * @param user who is called there, or the number; what was not understood comes back in it, trimmed
     * @param domain the host; for a Skype address always the long form of the Skype domain
     * @param name what a name-addr shows between quotes
     * @param extension digits to dial once the call stands, led by a comma; white space is taken out
     * @param port the digits of the port; keeps its old value where the text has no place for a port
     * @return whether the text was understood
     */
    static bool ParseURIEx(const QString& uri, QString& user, QString& domain, QString& name,
                           QString& extension, QString& port);

    /// As above, with the port left behind a colon in `domain`.
    static bool ParseURIEx(const QString& uri, QString& user, QString& domain, QString& name,
                           QString& extension);

    /// As above, without the extension.
    static bool ParseURI(const QString& uri, QString& user, QString& domain, QString& name);

private:
    static Error CheckDomain(const QString& id);
};

} // namespace tools::sip

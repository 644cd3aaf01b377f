#pragma once

#include <common/vxcommon_export.h>

#include <QRegExp>
#include <QString>

namespace tools::sip
{

/**
 * Defines the rules for SIP identifiers and phone numbers, and parses address strings.
 *
 * The patterns are designed for QRegExp::exactMatch and ignore case. Each call returns a copy that the caller
 * may use for matching. All functions are thread-safe; none logs or throws.
 */
class VXCOMMON_EXPORT SipId
{
public:
    SipId() = delete;

    /// Result of Check.
    enum Error : int
    {
        NoError = 0,     ///< A valid identifier of the service.
        FormatError = 1, ///< Only allowed symbols, but incomplete or for another service.
        SymbolError = 2, ///< A symbol that is not allowed in an identifier or in its domain.
        LengthError = 3  ///< Empty or too long.
    };

    static QRegExp AllSymbolRegExp(); ///< One or more of the symbols in AllSymbols.
    static QRegExp SymbolRegExp();    ///< Up to 255 symbols and a possibly incomplete port; for input fields.
    static QRegExp FormatRegExp();    ///< An identifier of the service with an optional port.
    /// Kept for compatibility: as FormatRegExp, but with up to two ports in a row.
    static QRegExp QuollSipIDRegExp();
    /// A name-addr (RFC 3261, 25.1): `"NAME" <sip:USER@HOST:PORT;PARAMETERS>`.
    static QRegExp URIRegExp();
    static QRegExp IDRegExp();            ///< `USER@HOST:PORT` in any domain; may end with dial digits.
    static QRegExp IDWithoutPortRegExp(); ///< As IDRegExp, without a port.
    static QRegExp SkypeURIRegExp();      ///< "skype:NAME", with or without the Skype domain.
    static QRegExp SkypeIDRegExp();       ///< `NAME@DOMAIN` with the Skype domain, short or long.
    static QRegExp PhoneNumberRegExp();   ///< Digits, "*" and "#"; may end with dial digits.
    static QRegExp SIPUserRegExp();       ///< A user part alone.
    /// Digits and the separators of written phone numbers; may be empty.
    static QRegExp NumericNumberRegExp();
    static QRegExp NumericSipRegExp(); ///< As NumericNumberRegExp, beginning with "000".

    /// Returns the content of the character class in AllSymbolRegExp, for building other classes.
    static QString AllSymbols();

    /// Checks whether `id` is an identifier of the service.
    static Error Check(const QString& id);

    /// Returns whether Check(id) is NoError.
    static bool IsValid(const QString& id);

    /**
     * Splits an address string: a name-addr, a SIP identifier, a Skype address, a phone number or a user
     * name.
     *
     * @param uri the address string; leading and trailing white space is ignored
     * @param user the user part or the number; the trimmed `uri` if it cannot be parsed
     * @param domain the host; for a Skype address always the long form of the Skype domain
     * @param name the quoted display name of a name-addr
     * @param extension digits to dial after the call is established, with their leading comma and without
     *        white space
     * @param port the digits of the port of a SIP identifier, empty if it has none; unchanged for a Skype
     * address, a phone number, a user name, or if `uri` cannot be parsed
     * @return whether `uri` could be parsed
     */
    static bool ParseURIEx(const QString& uri, QString& user, QString& domain, QString& name,
                           QString& extension, QString& port);

    /// As above, but appends ":" and the port to `domain`.
    static bool ParseURIEx(const QString& uri, QString& user, QString& domain, QString& name,
                           QString& extension);

    /// As above, without the extension.
    static bool ParseURI(const QString& uri, QString& user, QString& domain, QString& name);

private:
    static Error CheckDomain(const QString& id);
};

} // namespace tools::sip

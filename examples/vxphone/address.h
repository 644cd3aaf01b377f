#pragma once

#include <QString>

/// What the library reads in an address, in words.
struct Reading
{
    QString kind;   ///< "Phone number" and the like.
    QString symbol; ///< Name of the symbol for the kind.
    QString shown;  ///< The address as people read it.
};

Reading ReadAddress(const QString& address);

/// Returns the address that a link such as "tel:+1-212-555-0100;ext=12" leads to; any other text verbatim.
QString PlainAddress(const QString& link);

/// Returns a key that is equal for all spellings of one address.
QString AddressKey(const QString& address);

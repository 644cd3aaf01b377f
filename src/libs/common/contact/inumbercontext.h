#pragma once

#include <common/vxcommon_export.h>

#include <QObject>
#include <QSharedPointer>
#include <QString>

namespace common::contact::number
{

/// Kind of address.
enum NumberKind : int
{
    ServiceNumber = 0, ///< The domain contains the service's domain, so look-alikes match.
    PhoneNumber = 1,   ///< Digits and separators.
    SipAddress = 2,    ///< A name in another domain, or digits that begin with "000".
    SkypeName = 3      ///< A Skype name.
};

/**
 * A party to call: its normalised address, the kind of the address, and the strings for dialling and display.
 *
 * Immutable, so any thread may read it. As a QObject it belongs to the thread that created it.
 */
class VXCOMMON_EXPORT INumberContext : public QObject
{
    Q_OBJECT

public:
    INumberContext();
    ~INumberContext() override;

    /// Returns the string to dial: the full address, the Skype name, or the number with its extension.
    virtual QString Address() const = 0;
    /// Returns the string for display: Address, with the prefix "skype: " for a Skype name.
    virtual QString DisplayText() const = 0;
    virtual int Kind() const = 0; ///< One of NumberKind.
    /// Returns `NUMBER@DOMAIN` or, if the domain is empty, the number with its extension.
    virtual QString FullAddress() const = 0;
    virtual QString Number() const = 0;    ///< User part or number; lower-case for a Skype name only.
    virtual QString Domain() const = 0;    ///< Lower-case; includes the port, if any.
    virtual QString Extension() const = 0; ///< Dial digits only: 0-9, a-f, A-F, "*" and "#".
};

/// Creates a number context from its parts. Never fails.
VXCOMMON_EXPORT QSharedPointer<INumberContext> CreateInstance(const QString& number, const QString& domain,
                                                              const QString& extension);

/// Creates a number context from an address string. If the string cannot be parsed, it becomes the number.
VXCOMMON_EXPORT QSharedPointer<INumberContext> CreateInstance(const QString& uri);

} // namespace common::contact::number

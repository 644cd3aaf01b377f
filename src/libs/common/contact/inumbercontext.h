#pragma once

#include <common/vxcommon_export.h>

#include <QObject>
#include <QSharedPointer>
#include <QString>

namespace common::contact::number
{

/// What kind of address a number context holds.
enum NumberKind : int
{
    ServiceNumber = 0, ///< Its domain has the service's in it; a look-alike counts.
    PhoneNumber = 1,   ///< Digits and separators.
    SipAddress = 2,    ///< A name elsewhere, or digits led by "000".
    SkypeName = 3      ///< A Skype name.
};

/**
 * Whom to call: an address brought into one form, what sort of address it is, and how to dial and show it.
 *
 * Immutable, so it may be read from any thread. As a QObject it belongs to the thread that made it.
 */
class VXCOMMON_EXPORT INumberContext : public QObject
{
    Q_OBJECT

public:
    INumberContext();
    ~INumberContext() override;

    /// What to dial: the full address of a SIP address, the name of a Skype user, or the number and its
    /// extension.
    virtual QString Address() const = 0;
    /// What to show: Address, behind "skype: " for a Skype name.
    virtual QString DisplayText() const = 0;
    virtual int Kind() const = 0; ///< One of NumberKind.
    /// Number and domain; without a domain, number and extension.
    virtual QString FullAddress() const = 0;
    virtual QString Number() const = 0;    ///< User part or number; lower-case for a Skype name only.
    virtual QString Domain() const = 0;    ///< Lower-case; a port stays behind its colon.
    virtual QString Extension() const = 0; ///< Dial digits only: 0-9, a-f, A-F, "*" and "#".
};

/// Makes a number context from its parts. Every text yields one.
VXCOMMON_EXPORT QSharedPointer<INumberContext> CreateInstance(const QString& number, const QString& domain,
                                                              const QString& extension);

/// Makes a number context from an address text; one that is not understood becomes the number as it stands.
VXCOMMON_EXPORT QSharedPointer<INumberContext> CreateInstance(const QString& uri);

} // namespace common::contact::number

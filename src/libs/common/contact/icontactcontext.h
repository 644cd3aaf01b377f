#pragma once

#include <common/vxcommon_export.h>

#include <QObject>
#include <QSharedPointer>
#include <QString>

namespace common::contact
{

/// A party to call, with a name and a ringtone. A program may provide its own implementation.
class VXCOMMON_EXPORT IContactContext : public QObject
{
    Q_OBJECT

public:
    IContactContext();
    ~IContactContext() override;

    virtual void* PassThrough(void* value) = 0; ///< Returns `value`.
    virtual bool IsMarked() const = 0;          ///< Always false in this library's implementation.
    virtual QString DisplayName() const = 0;    ///< The name for display; empty if it equals the number.
    virtual QString Address() const = 0;        ///< As in number::INumberContext.
    virtual QString DisplayText() const = 0;    ///< As in number::INumberContext.
    virtual int Kind() const = 0;               ///< One of number::NumberKind.
    virtual QString Name() const = 0;           ///< The name given at creation.
    virtual QString Ringtone() const = 0;       ///< Resource path of a sound file.
    virtual QString FullAddress() const = 0;    ///< As in number::INumberContext.
    virtual QString Number() const = 0;         ///< As in number::INumberContext.
    virtual QString Domain() const = 0;         ///< As in number::INumberContext.
    virtual QString Extension() const = 0;      ///< As in number::INumberContext.

Q_SIGNALS:
    void changed(); ///< Emitted when the contact changes; never emitted by this library's implementation.
};

/// Creates a contact from the parts of its address. The contact has no parent; the pointer owns it.
VXCOMMON_EXPORT QSharedPointer<IContactContext> CreateInstance(const QString& number, const QString& domain,
                                                               const QString& name, const QString& extension);

/// Creates a contact from an address string. If `uri` is a name-addr, ignores its display name.
VXCOMMON_EXPORT QSharedPointer<IContactContext> CreateInstance(const QString& uri, const QString& name);

} // namespace common::contact

#pragma once

#include <common/vxcommon_export.h>

#include <QObject>
#include <QSharedPointer>
#include <QString>

namespace common::contact
{

/**
 * A party to call with the name and the ringtone that a contact list gives it. Programs may bring
 * implementations of their own.
 */
class VXCOMMON_EXPORT IContactContext : public QObject
{
    Q_OBJECT

public:
    IContactContext();
    ~IContactContext() override;

    virtual void* PassThrough(void* value) = 0; ///< Gives `value` back.
    virtual bool IsMarked() const = 0;          ///< Whether the list marks it; this library's own never is.
    virtual QString DisplayName() const = 0;    ///< The name to show; empty if it only repeats the number.
    virtual QString Address() const = 0;        ///< As in number::INumberContext.
    virtual QString DisplayText() const = 0;    ///< As in number::INumberContext.
    virtual int Kind() const = 0;               ///< One of number::NumberKind.
    virtual QString Name() const = 0;           ///< The name as it was given.
    virtual QString Ringtone() const = 0;       ///< Resource path of a sound.
    virtual QString FullAddress() const = 0;    ///< As in number::INumberContext.
    virtual QString Number() const = 0;         ///< As in number::INumberContext.
    virtual QString Domain() const = 0;         ///< As in number::INumberContext.
    virtual QString Extension() const = 0;      ///< As in number::INumberContext.

Q_SIGNALS:
    void changed(); ///< For implementations that can change; this library's own never does.
};

/// Makes a contact from the parts of its address. The context has no parent; the pointer owns it.
VXCOMMON_EXPORT QSharedPointer<IContactContext> CreateInstance(const QString& number, const QString& domain,
                                                               const QString& name, const QString& extension);

/// Makes a contact from an address text. Only `name` names it, whatever a name-addr in `uri` says.
VXCOMMON_EXPORT QSharedPointer<IContactContext> CreateInstance(const QString& uri, const QString& name);

} // namespace common::contact

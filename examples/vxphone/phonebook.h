#pragma once

#include <QDateTime>
#include <QList>
#include <QObject>

/// The library's interpretation of an address, for display.
struct Reading
{
    QString kind;   ///< "Phone number" and the like.
    QString symbol; ///< Name of the symbol for the kind.
    QString shown;  ///< The address for display.
};

Reading ReadAddress(const QString& address);

/// Returns whether a string is a call link, such as "tel:+1-212-555-0100".
bool IsCallLink(const QString& text);

/// Returns the address that a link such as "tel:+1-212-555-0100;ext=12" leads to; any other text verbatim.
QString PlainAddress(const QString& link);

/// Returns a key that is equal for all spellings of one address.
QString AddressKey(const QString& address);

struct Contact
{
    QString name;
    QString address;
};

struct RecentCall
{
    QString address;
    QDateTime start; ///< In UTC.
    int seconds = 0; ///< How long it lasted.
};

/// Contacts and recent calls. Each change is written to one encrypted JSON file.
class PhoneBook : public QObject
{
    Q_OBJECT

public:
    explicit PhoneBook(const QString& fileName);

    const QList<Contact>& Contacts() const { return contacts; } ///< Sorted by name.
    const QList<RecentCall>& Calls() const { return calls; }    ///< The newest first.

    /// Returns the contact with this address, in any spelling; null if there is none.
    const Contact* Find(const QString& address) const;
    /// Returns the name of the contact with this address, or the address for display.
    QString NameOf(const QString& address) const;

    void AddContact(const Contact& contact); ///< Does nothing if there is one with this address.
    void RemoveContact(int index);           ///< Does nothing if negative.
    void RestoreContact();                   ///< Restores the contact that was removed last, if any.
    void AddCall(const RecentCall& call);

Q_SIGNALS:
    void changed();
    void contactRemoved(const QString& name);

private:
    void Load();
    void Save();

    QString fileName;
    QList<Contact> contacts;
    QList<Contact> removed; ///< The latest last.
    QList<RecentCall> calls;
    bool saves = true; ///< False while a file that cannot be read has this name.
};

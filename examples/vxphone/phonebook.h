#pragma once

#include <QDateTime>
#include <QList>
#include <QObject>

/// The library's interpretation of an address, for display.
struct Reading
{
    QString kind;   ///< Such as "Phone number".
    QString symbol; ///< Name of the symbol for this kind of address.
    QString shown;  ///< The address for display.
};

Reading ReadAddress(const QString& address);

/// Returns whether a string is a call link, such as "tel:+1-212-555-0100".
bool IsCallLink(const QString& text);

/// Returns the address in a link such as "tel:+1-212-555-0100;ext=12"; simplifies any other string.
QString PlainAddress(const QString& link);

/// Returns a key that is the same for all spellings of an address.
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
    int seconds = 0; ///< Duration of the call.
};

/// Contacts and recent calls. Writes each change to an encrypted JSON file.
class PhoneBook : public QObject
{
    Q_OBJECT

public:
    explicit PhoneBook(const QString& fileName);

    const QList<Contact>& Contacts() const { return contacts; } ///< Sorted by name.
    const QList<RecentCall>& Calls() const { return calls; }    ///< Newest first.

    /// Returns the contact with this address, in any spelling; null if there is none.
    const Contact* Find(const QString& address) const;
    /// Returns the name of the contact with this address, or the address for display.
    QString NameOf(const QString& address) const;

    void AddContact(const Contact& contact); ///< Does nothing if a contact with this address exists.
    void RemoveContact(int index);           ///< Does nothing if `index` is negative.
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
    QList<Contact> removed; ///< Most recent last.
    QList<RecentCall> calls;
    bool saves = true; ///< False if an unreadable file could not be renamed.
};

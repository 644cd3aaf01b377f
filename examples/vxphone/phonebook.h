#pragma once

#include <QDateTime>
#include <QList>
#include <QObject>

struct Contact
{
    QString name; ///< Empty for a contact without one.
    QString address;

    QString ShownName() const; ///< The name, or the address as people read it.
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
    /// Returns the name of the contact with this address, or the address as people read it.
    QString NameOf(const QString& address) const;

    void AddContact(const Contact& contact);
    void RemoveContact(int index);
    void RestoreContact(); ///< Adds again what was removed last, if anything was.

    void BeginCall(const QString& address);
    void EndCall(int seconds); ///< Sets how long the newest call lasted.
    void ClearCalls();

Q_SIGNALS:
    void changed();

private:
    void Load();
    void Save();

    QString fileName;
    QList<Contact> contacts;
    QList<Contact> removed; ///< The latest last.
    QList<RecentCall> calls;
    bool saves = true; ///< Off while a file that cannot be read is in the way.
};

#include "phonebook.h"

#include "address.h"

#include <common/contact/icontactcontext.h>
#include <common/logger/logger.h>
#include <common/tools/aes.h>
#include <common/tools/jsonfile.h>

#include <QFile>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace common::logger;

namespace
{

constexpr qsizetype maxCalls = 50;

const QString contactsKey = u"contacts"_s;
const QString callsKey = u"recentCalls"_s;
const QString nameKey = u"name"_s;
const QString addressKey = u"address"_s;
const QString startKey = u"start"_s;
const QString secondsKey = u"seconds"_s;

bool SortsBefore(const Contact& first, const Contact& second)
{
    return QString::localeAwareCompare(first.ShownName(), second.ShownName()) < 0;
}

QJsonObject ToJson(const QList<Contact>& contacts, const QList<RecentCall>& calls)
{
    QJsonArray contactArray;
    for (const Contact& contact : contacts) {
        contactArray += QJsonObject{{nameKey, contact.name}, {addressKey, contact.address}};
    }
    QJsonArray callArray;
    for (const RecentCall& call : calls) {
        callArray += QJsonObject{{addressKey, call.address},
                                 {startKey, call.start.toString(Qt::ISODate)},
                                 {secondsKey, call.seconds}};
    }
    return {{contactsKey, contactArray}, {callsKey, callArray}};
}

} // namespace

QString Contact::ShownName() const
{
    const auto party = common::contact::CreateInstance(address, name);
    return party->DisplayName().isEmpty() ? party->DisplayText() : party->DisplayName();
}

PhoneBook::PhoneBook(const QString& fileName_)
    : fileName(fileName_)
{
    if (QFile::exists(fileName)) {
        Load();
    }
}

const Contact* PhoneBook::Find(const QString& address) const
{
    const QString key = AddressKey(address);
    const auto found = std::find_if(contacts.begin(), contacts.end(), [&key](const Contact& contact) {
        return AddressKey(contact.address) == key;
    });
    return found == contacts.end() ? nullptr : &*found;
}

QString PhoneBook::NameOf(const QString& address) const
{
    const Contact* const contact = Find(address);
    return contact != nullptr ? contact->ShownName() : ReadAddress(address).shown;
}

void PhoneBook::AddContact(const Contact& contact)
{
    contacts.insert(std::upper_bound(contacts.begin(), contacts.end(), contact, SortsBefore), contact);
    Save();
}

void PhoneBook::RemoveContact(int index)
{
    removed += contacts.takeAt(index);
    Save();
}

void PhoneBook::RestoreContact()
{
    if (removed.isEmpty()) {
        return;
    }
    const Contact contact = removed.takeLast();
    if (Find(contact.address) == nullptr) {
        AddContact(contact);
    }
}

void PhoneBook::BeginCall(const QString& address)
{
    calls.prepend({address, QDateTime::currentDateTimeUtc()});
    calls.resize(qMin(calls.size(), maxCalls));
    Save();
}

void PhoneBook::EndCall(int seconds)
{
    if (!calls.isEmpty()) {
        calls.first().seconds = seconds;
        Save();
    }
}

void PhoneBook::ClearCalls()
{
    calls.clear();
    Save();
}

void PhoneBook::Load()
{
    tools::JsonFile file(fileName, tools::cipher::AES::machineKey());
    // If the file is damaged or was encrypted with another key, it loads as no document.
    if (file.Load() && file.Document().isObject()) {
        const QJsonArray contactArray = file.Object()[contactsKey].toArray();
        for (const auto& value : contactArray) {
            contacts += Contact{value[nameKey].toString(), value[addressKey].toString()};
        }
        const QJsonArray callArray = file.Object()[callsKey].toArray();
        for (const auto& value : callArray) {
            calls += RecentCall{value[addressKey].toString(),
                                QDateTime::fromString(value[startKey].toString(), Qt::ISODate),
                                value[secondsKey].toInt()};
        }
        std::sort(contacts.begin(), contacts.end(), SortsBefore);
        LOG_MESSAGE(Info) << "contacts read: " << contacts.size() << ", recent calls: " << calls.size();
        return;
    }
    // Put it aside, so that it is not overwritten.
    const QString moment = QDateTime::currentDateTime().toString(u"yyyyMMdd-HHmmss"_s);
    const QString aside = fileName + u'.' + moment + u".unreadable"_s;
    saves = QFile::rename(fileName, aside);
    LOG_MESSAGE(Error) << "the contacts cannot be read from " << fileName
                       << (saves ? u"; their file is kept as "_s + aside
                                 : u"; no change is saved until it is moved away"_s);
}

void PhoneBook::Save()
{
    tools::JsonFile file(fileName, ToJson(contacts, calls), tools::cipher::AES::machineKey());
    if (!saves || !file.Save()) {
        LOG_MESSAGE(Error) << "the contacts cannot be written to " << fileName;
    }
    Q_EMIT changed();
}

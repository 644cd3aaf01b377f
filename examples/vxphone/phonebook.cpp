#include "phonebook.h"

#include <common/contact/inumbercontext.h>
#include <common/logger/logger.h>
#include <common/tools/aes.h>
#include <common/tools/jsonfile.h>

#include <QFile>
#include <QRegularExpression>
#include <QUrl>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace common::logger;
namespace number = common::contact::number;

namespace
{

/// Matches the start of a call link.
const QRegularExpression callScheme(u"^(callto|tel|sips?):/*"_s, QRegularExpression::CaseInsensitiveOption);

} // namespace

Reading ReadAddress(const QString& address)
{
    const auto context = number::CreateInstance(address);
    switch (context->Kind()) {
    case number::ServiceNumber:
        return {QObject::tr("Service number"), u"service"_s, context->DisplayText()};
    case number::PhoneNumber:
        return {QObject::tr("Phone number"), u"phone"_s, context->DisplayText()};
    case number::SipAddress:
        return {QObject::tr("SIP address"), u"at"_s, context->DisplayText()};
    default:
        return {QObject::tr("Skype name"), u"chat"_s, context->Address()};
    }
}

bool IsCallLink(const QString& text)
{
    return text.contains(callScheme);
}

QString PlainAddress(const QString& link)
{
    static const QRegularExpression extension(u";ext=([0-9*#]+)"_s);
    static const QRegularExpression parameters(u"[;?]"_s);
    QString plain = link.simplified();
    if (!IsCallLink(plain)) {
        return plain;
    }
    plain.remove(callScheme);
    // RFC 3966 and RFC 3261: parameters follow the address. Of these, only an extension is dialled. Unescape
    // last, because an escaped character is not a separator.
    const QString dialled = extension.match(plain).captured(1);
    const qsizetype end = plain.indexOf(parameters, plain.lastIndexOf(u'@') + 1);
    const QString address = QUrl::fromPercentEncoding(plain.left(end).toUtf8()).simplified();
    return address + (dialled.isEmpty() || plain.contains(u'@') ? QString() : u',' + dialled);
}

QString AddressKey(const QString& address)
{
    static const QRegularExpression separators(u"[-+(). ]"_s);
    const auto context = number::CreateInstance(address);
    const QString key = context->FullAddress().toLower();
    return context->Kind() == number::PhoneNumber ? QString(key).remove(separators) : key;
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
    return contact != nullptr ? contact->name : ReadAddress(address).shown;
}

void PhoneBook::AddContact(const Contact& contact)
{
    if (Find(contact.address) == nullptr) {
        contacts += contact;
        std::sort(contacts.begin(), contacts.end(), [](const Contact& first, const Contact& second) {
            return QString::localeAwareCompare(first.name, second.name) < 0;
        });
        Save();
    }
}

void PhoneBook::RemoveContact(int index)
{
    if (index >= 0) {
        removed += contacts.takeAt(index);
        Save();
        Q_EMIT contactRemoved(removed.last().name);
    }
}

void PhoneBook::RestoreContact()
{
    if (!removed.isEmpty()) {
        AddContact(removed.takeLast());
    }
}

void PhoneBook::AddCall(const RecentCall& call)
{
    constexpr qsizetype maxCalls = 50;
    calls.prepend(call);
    calls.resize(qMin(calls.size(), maxCalls));
    Save();
}

void PhoneBook::Load()
{
    tools::JsonFile file(fileName, tools::cipher::AES::machineKey());
    // A file that is damaged or was encrypted with another key loads as a null document.
    if (!file.Load() || !file.Document().isObject()) { // Rename it, so that it is not overwritten.
        const QString moment = QDateTime::currentDateTime().toString(u"yyyyMMdd-HHmmss"_s);
        const QString aside = u"%1.%2.unreadable"_s.arg(fileName, moment);
        saves = QFile::rename(fileName, aside);
        LOG_MESSAGE(Error) << "the contacts cannot be read; their file is now " << (saves ? aside : fileName);
    }
    const QJsonArray contactArray = file.Object()[u"contacts"_s].toArray();
    for (const auto& value : contactArray) {
        contacts += Contact{value[u"name"_s].toString(), value[u"address"_s].toString()};
    }
    const QJsonArray callArray = file.Object()[u"recentCalls"_s].toArray();
    for (const auto& value : callArray) {
        calls += RecentCall{value[u"address"_s].toString(),
                            QDateTime::fromString(value[u"start"_s].toString(), Qt::ISODate),
                            value[u"seconds"_s].toInt()};
    }
}

void PhoneBook::Save()
{
    QJsonArray contactArray;
    for (const Contact& contact : contacts) {
        contactArray += QJsonObject{{u"name"_s, contact.name}, {u"address"_s, contact.address}};
    }
    QJsonArray callArray;
    for (const RecentCall& call : calls) {
        callArray += QJsonObject{{u"address"_s, call.address},
                                 {u"start"_s, call.start.toString(Qt::ISODate)},
                                 {u"seconds"_s, call.seconds}};
    }
    const QJsonObject object{{u"contacts"_s, contactArray}, {u"recentCalls"_s, callArray}};
    if (!saves || !tools::JsonFile(fileName, object, tools::cipher::AES::machineKey()).Save()) {
        LOG_MESSAGE(Error) << "the contacts cannot be written to " << fileName;
    }
    Q_EMIT changed();
}

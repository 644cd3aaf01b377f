#include "address.h"

#include <common/contact/inumbercontext.h>

#include <QCoreApplication>
#include <QRegularExpression>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace number = common::contact::number;

Reading ReadAddress(const QString& address)
{
    const auto text = [](const char* english) { return QCoreApplication::translate("Reading", english); };
    const auto context = number::CreateInstance(address);
    switch (context->Kind()) {
    case number::ServiceNumber:
        return {text("Service number"), u"service"_s, context->DisplayText()};
    case number::PhoneNumber:
        return {text("Phone number"), u"phone"_s, context->DisplayText()};
    case number::SipAddress:
        return {text("SIP address"), u"at"_s, context->DisplayText()};
    default:
        return {text("Skype name"), u"chat"_s, context->Address()};
    }
}

QString PlainAddress(const QString& link)
{
    static const QRegularExpression scheme(u"^(callto|tel|sips?):/*"_s,
                                           QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression extension(u";ext=([0-9*#]+)"_s);
    static const QRegularExpression parameters(u"[;?]"_s);
    QString plain = QUrl::fromPercentEncoding(link.toUtf8()).trimmed();
    if (!plain.contains(scheme)) {
        return plain;
    }
    plain.remove(scheme);
    // RFC 3966 and RFC 3261: parameters follow the address. Only an extension is dialled.
    const QString dialled = extension.match(plain).captured(1);
    const qsizetype end = plain.indexOf(parameters, plain.lastIndexOf(u'@') + 1);
    return plain.left(end) + (dialled.isEmpty() || plain.contains(u'@') ? QString() : u',' + dialled);
}

QString AddressKey(const QString& address)
{
    static const QRegularExpression separators(u"[-+(). ]"_s);
    const auto context = number::CreateInstance(address);
    const QString key = context->FullAddress().toLower();
    return context->Kind() == number::PhoneNumber ? QString(key).remove(separators) : key;
}

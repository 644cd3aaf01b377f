#include "address.h"

#include <common/contact/inumbercontext.h>

#include <QCoreApplication>
#include <QRegularExpression>
#include <QUrl>

namespace vxphone
{

Reading Read(const QString& address)
{
    const auto text = [](const char* english) { return QCoreApplication::translate("Reading", english); };
    const auto number = common::contact::number::CreateInstance(address);
    switch (number->Kind()) {
    case common::contact::number::ServiceNumber:
        return {text("Service number"), QStringLiteral("service"), number->DisplayText()};
    case common::contact::number::PhoneNumber:
        return {text("Phone number"), QStringLiteral("phone"), number->DisplayText()};
    case common::contact::number::SipAddress:
        return {text("SIP address"), QStringLiteral("at"), number->DisplayText()};
    default:
        return {text("Skype name"), QStringLiteral("chat"), number->Address()};
    }
}

QString PlainAddress(const QString& link)
{
    static const QRegularExpression scheme(QStringLiteral("^(callto|tel|sips?):/*"),
                                           QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression extension(QStringLiteral(";ext=([0-9*#]+)"));
    static const QRegularExpression parameters(QStringLiteral("[;?]"));
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
    static const QRegularExpression separators(QStringLiteral("[-+(). ]"));
    const auto number = common::contact::number::CreateInstance(address);
    const bool isPhone = number->Kind() == common::contact::number::PhoneNumber;
    QString key = number->FullAddress().toLower();
    return isPhone ? key.remove(separators) : key;
}

} // namespace vxphone

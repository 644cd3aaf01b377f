#include <common/contact/inumbercontext.h>

#include <common/sip/sipid.h>

#include "deployment.h"

namespace common::contact::number
{

namespace
{

bool EqualsIgnoringCase(const QString& text, QLatin1String other)
{
    return text.compare(other, Qt::CaseInsensitive) == 0;
}

bool IsSkypeDomain(const QString& domain)
{
    return EqualsIgnoringCase(domain, QLatin1String("skype")) ||
           EqualsIgnoringCase(domain, QLatin1String("skype.com"));
}

/// Accepts every domain that contains the service's domain, such as a subdomain. Rejects the external domain
/// only if it has no port.
bool IsServiceDomain(const QString& domain)
{
    return domain.contains(QLatin1String(deployment::serviceSipDomain), Qt::CaseInsensitive) &&
           !EqualsIgnoringCase(domain, QLatin1String(deployment::externalServiceSipDomain));
}

int KindOf(const QString& number, const QString& domain)
{
    if (IsSkypeDomain(domain)) {
        return SkypeName;
    }
    if (IsServiceDomain(domain)) {
        return ServiceNumber;
    }
    using tools::sip::SipId;
    if (!SipId::NumericNumberRegExp().exactMatch(number) || SipId::NumericSipRegExp().exactMatch(number)) {
        return SipAddress;
    }
    // Kept for compatibility: the domain of a phone number is ignored.
    return PhoneNumber;
}

/// Avoids QRegularExpression: in mingw-w64 builds, a thread that has used it fails when it ends.
bool IsNoDialDigit(QChar character)
{
    return !QStringView(u"0123456789abcdefABCDEF*#").contains(character);
}

class NumberContext final : public INumberContext
{
public:
    NumberContext(const QString& number_, const QString& domain_, const QString& extension_)
        : number(number_.trimmed())
        , domain(domain_.trimmed().toLower())
        , extension(QString(extension_).removeIf(IsNoDialDigit))
        , kind(KindOf(number, domain))
    {
        if (kind == SkypeName) {
            number = number.toLower();
        }
    }

    QString Address() const override
    {
        switch (kind) {
        case ServiceNumber:
        case SipAddress:
            return FullAddress();
        case SkypeName:
            return number;
        default:
            return WithExtension();
        }
    }

    QString DisplayText() const override
    {
        return kind == SkypeName ? QStringLiteral("skype: ") + Address() : Address();
    }

    int Kind() const override { return kind; }

    QString FullAddress() const override
    {
        return domain.isEmpty() ? WithExtension() : number + u'@' + domain;
    }

    QString Number() const override { return number; }
    QString Domain() const override { return domain; }
    QString Extension() const override { return extension; }

private:
    QString WithExtension() const { return extension.isEmpty() ? number : number + u',' + extension; }

    QString number;
    QString domain;
    QString extension;
    int kind;
};

} // namespace

INumberContext::INumberContext() = default;

INumberContext::~INumberContext() = default;

QSharedPointer<INumberContext> CreateInstance(const QString& number, const QString& domain,
                                              const QString& extension)
{
    return QSharedPointer<NumberContext>::create(number, domain, extension);
}

QSharedPointer<INumberContext> CreateInstance(const QString& uri)
{
    QString user;
    QString domain;
    QString name;
    QString extension;
    tools::sip::SipId::ParseURIEx(uri, user, domain, name, extension);
    return CreateInstance(user, domain, extension);
}

} // namespace common::contact::number

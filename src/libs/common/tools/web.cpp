#include <common/tools/web.h>

#include <common/sip/sipid.h>

#include "deployment.h"

namespace tools::web
{

namespace
{

QString WebServicesUrl(const char* host)
{
    return QLatin1String("https://") + QLatin1String(host) + QLatin1String("/integration/vexline");
}

const QString ruWebServicesUrl = WebServicesUrl(common::deployment::ruWebServicesHost);
const QString defaultWebServicesUrl = WebServicesUrl(common::deployment::defaultWebServicesHost);

} // namespace

Web::Locale Web::GetLocale(const QString& sipId)
{
    QString user;
    QString domain;
    QString name;
    sip::SipId::ParseURI(sipId, user, domain, name);
    if (domain.endsWith(QLatin1String(".ru"))) {
        return LocaleRu;
    }
    if (domain.endsWith(QLatin1String(".eu"))) {
        return LocaleEu;
    }
    return LocaleDefault;
}

QString Web::GetUrl(const QString& sipId, const QString& ruUrl, const QString& otherUrl)
{
    return GetLocale(sipId) == LocaleRu ? ruUrl : otherUrl;
}

QString Web::GetWebServisesUrl(const QString& sipId)
{
    return GetUrl(sipId, ruWebServicesUrl, defaultWebServicesUrl);
}

} // namespace tools::web

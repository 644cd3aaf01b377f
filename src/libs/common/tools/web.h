#pragma once

#include <common/vxcommon_export.h>

#include <QString>

namespace tools::web
{

/// Which of the service's web hosts is at home for a SIP identity, told by where its domain ends.
/// Thread-safe.
class VXCOMMON_EXPORT Web
{
public:
    Web() = delete;

    /// The country of a web host.
    enum Locale : int
    {
        LocaleDefault = 0, ///< Any other domain.
        LocaleRu = 1,      ///< The domain ends in ".ru".
        LocaleEu = 2       ///< The domain ends in ".eu".
    };

    /// The country of an identity. The test minds case, and a domain with a port counts as LocaleDefault.
    static Locale GetLocale(const QString& sipId);

    /// `ruUrl` for LocaleRu, else `otherUrl`.
    static QString GetUrl(const QString& sipId, const QString& ruUrl, const QString& otherUrl);

    /// Base address of the service's web services for an identity.
    static QString GetWebServisesUrl(const QString& sipId);
};

} // namespace tools::web

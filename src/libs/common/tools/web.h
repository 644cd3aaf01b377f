#pragma once

#include <common/vxcommon_export.h>

#include <QString>

namespace tools::web
{

/// Selects the service's web host for a SIP identifier by the end of the domain. Thread-safe.
class VXCOMMON_EXPORT Web
{
public:
    Web() = delete;

    /// Region of a web host.
    enum Locale : int
    {
        LocaleDefault = 0, ///< Any other domain.
        LocaleRu = 1,      ///< The domain ends in ".ru".
        LocaleEu = 2       ///< The domain ends in ".eu".
    };

    /// Returns the region of an identifier. The comparison is case-sensitive, and a domain with a port gives
    /// LocaleDefault.
    static Locale GetLocale(const QString& sipId);

    /// Returns `ruUrl` for LocaleRu, otherwise `otherUrl`.
    static QString GetUrl(const QString& sipId, const QString& ruUrl, const QString& otherUrl);

    /// Returns the base URL of the service's web services for an identifier.
    static QString GetWebServisesUrl(const QString& sipId);
};

} // namespace tools::web

#pragma once

#include <common/vxcommon_export.h>

#include <QList>
#include <QString>

namespace tools::url
{

/// Where a link stands in a text.
struct UrlRange
{
    int start;  ///< Index of the link's first UTF-16 unit.
    int length; ///< Its length in UTF-16 units.
};

/**
 * Finds the links in a chat message or other free text, in their order. Any thread may call.
 *
 * Links are web addresses with their scheme ("http", "https", "ftp"), whatever stands behind "callto:",
 * "mailto:", "sip:", "sips:" or "tel:", and bare host names below a known top-level domain, with port and
 * path. Punctuation at the end and closing brackets that were opened before the link are not part of it. A
 * host that stands next to "@", "_" or
 * "-" is part of something else and no link.
 *
 * The time is linear in the text, whatever the text. For that one kind of link is given up: a web address
 * whose authority (user, host and port) has more than 512 units and is not plain ASCII without escapes, which
 * no host name needs.
 */
VXCOMMON_EXPORT QList<UrlRange> FindUrlRanges(const QString& text);

/**
 * Whether `domain`, in Unicode or ASCII form (RFC 3492) and in any case, is a known top-level domain.
 *
 * White space around it and one dot at either end do not matter. Longer than 255 units is none. Any thread
 * may call.
 */
VXCOMMON_EXPORT bool IsValidTopLevelDomain(const QString& domain);

} // namespace tools::url

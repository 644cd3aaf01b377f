#pragma once

#include <common/vxcommon_export.h>

#include <QList>
#include <QString>

namespace tools::url
{

/// The range of a link in a text.
struct UrlRange
{
    int start;  ///< Index of the link's first UTF-16 unit.
    int length; ///< Length in UTF-16 units.
};

/**
 * Finds the links in a chat message or other free text. Thread-safe.
 *
 * Links are web addresses with a scheme ("http", "https", "ftp"), any text after "callto:", "mailto:",
 * "sip:", "sips:" or "tel:", and bare host names below a known top-level domain, with an optional port and
 * path. A link includes neither trailing punctuation nor trailing closing brackets whose opening brackets
 * precede the link. A bare host next to "@", "_" or "-" is not a link.
 *
 * Takes linear time. For this reason, a host with its port is accepted unparsed if it has more than 510
 * units and contains non-ASCII characters or escapes. No valid host name has that length.
 *
 * @return the ranges in the order of the text
 */
VXCOMMON_EXPORT QList<UrlRange> FindUrlRanges(const QString& text);

/**
 * Returns whether `domain` is a known top-level domain, in Unicode or ASCII form (RFC 3492) and in any case.
 *
 * Ignores surrounding white space and one dot at each end. Returns false for more than 255 units.
 * Thread-safe.
 */
VXCOMMON_EXPORT bool IsValidTopLevelDomain(const QString& domain);

} // namespace tools::url

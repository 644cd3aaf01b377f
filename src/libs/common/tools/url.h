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
 * Finds the links in a chat message or other free text. Any thread may call.
 *
 * Links are web addresses with a scheme ("http", "https", "ftp"), any text after "callto:", "mailto:",
 * "sip:", "sips:" or "tel:", and bare host names below a known top-level domain, with port and path.
 * Punctuation at the end of a link and closing brackets that were opened before it are not part of it. A bare
 * host next to "@", "_" or "-" is not a link.
 *
 * Takes linear time. Therefore a host and port of more than 510 units that is not plain ASCII, or has
 * escapes, is not parsed but accepted as if QUrl refused it; no valid host name has that length.
 *
 * @return the ranges in the order of the text
 */
VXCOMMON_EXPORT QList<UrlRange> FindUrlRanges(const QString& text);

/**
 * Returns whether `domain` is a known top-level domain, in Unicode or ASCII form (RFC 3492) and in any case.
 *
 * Ignores white space around it and one dot at either end. Returns false for more than 255 units. Any thread
 * may call.
 */
VXCOMMON_EXPORT bool IsValidTopLevelDomain(const QString& domain);

} // namespace tools::url

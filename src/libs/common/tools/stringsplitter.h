#pragma once

#include <common/vxcommon_export.h>

#include <QString>
#include <QStringList>

namespace tools::string
{

/**
 * Splits a long text into pieces of limited size, in linear time. Thread-safe.
 *
 * A piece can end after any UTF-16 unit, even inside a word or a surrogate pair. The joined pieces equal the
 * text. An empty text gives no pieces.
 */
class VXCOMMON_EXPORT splitter
{
public:
    splitter() = delete;

    /**
     * Returns pieces of `limit` bytes in UTF-8. A piece is shorter if the next character would exceed the
     * limit.
     *
     * Designed for characters of one or two bytes. With three-byte characters, a piece can have nearly 1.5
     * times `limit` bytes, because a piece of fewer than `limit` / 2 units is not measured.
     *
     * @param limit in bytes, at least 3; a smaller limit gives the text as one piece
     */
    static QStringList Utf8(const QString& text, int limit);

    /**
     * Returns pieces for a transport that sends ASCII pieces with one byte per character and all others with
     * two.
     *
     * Divides the text into slices of `limit` / 2 units. Joins adjacent ASCII slices up to `limit`
     * characters, or slightly more if `limit` is odd. Any other slice becomes a separate piece.
     *
     * @param limit in bytes, at least 2; a smaller limit gives the text as one piece
     */
    static QStringList Ucs2(const QString& text, int limit);
};

} // namespace tools::string

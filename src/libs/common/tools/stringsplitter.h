#pragma once

#include <common/vxcommon_export.h>

#include <QString>
#include <QStringList>

namespace tools::string
{

/**
 * Splits a long text into pieces that fit a limit in bytes, in linear time. Any thread may call.
 *
 * A cut can fall between any two UTF-16 units, inside a word or a surrogate pair. The joined pieces are the
 * text. An empty text gives no piece.
 */
class VXCOMMON_EXPORT splitter
{
public:
    splitter() = delete;

    /**
     * Returns pieces of `limit` bytes in UTF-8. A piece is shorter if the next character would exceed the
     * limit.
     *
     * Designed for characters of one or two bytes. With characters of three bytes a piece can have nearly 1.5
     * times `limit` bytes, because it is not measured before it has `limit` / 2 units.
     *
     * @param limit in bytes, at least 3; a smaller limit gives the text as one piece
     */
    static QStringList Utf8(const QString& text, int limit);

    /**
     * Returns pieces for a transport that sends a piece in ASCII with one byte per character, and any other
     * piece with two.
     *
     * Divides the text into slices of `limit` / 2 units. Joins adjacent ASCII slices up to `limit`
     * characters, or slightly more with an odd limit. Any other slice becomes a separate piece.
     *
     * @param limit in bytes, at least 2; a smaller limit gives the text as one piece
     */
    static QStringList Ucs2(const QString& text, int limit);
};

} // namespace tools::string

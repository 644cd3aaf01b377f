#pragma once

#include <common/vxcommon_export.h>

#include <QString>
#include <QStringList>

namespace tools::string
{

/**
 * Cuts a long text into pieces that fit a budget of bytes. Any thread may call.
 *
 * The cut falls between any two UTF-16 units, so that words and even the two halves of a surrogate pair may
 * part. The pieces joined give the text again; an empty text gives no piece. The cost is linear in the text.
 */
class VXCOMMON_EXPORT splitter
{
public:
    splitter() = delete;

    /**
     * Pieces of `limit` bytes in UTF-8, made for characters of one or two bytes there.
     *
     * A piece gets shorter where the next character would overrun the limit. With characters of three bytes
     * it can become nearly half as long again as the limit, since a piece is not measured before it has
     * `limit` / 2 units.
     *
     * @param limit at least 3; less gives the text as one piece
     */
    static QStringList Utf8(const QString& text, int limit);

    /**
     * Pieces for a transport that sends ASCII with one byte a character and a text with anything else with
     * two.
     *
     * The text is looked at in slices of `limit` / 2 units: runs of slices in ASCII are joined to `limit`
     * characters, with an odd limit to a little more, and any other slice becomes a piece of its own.
     *
     * @param limit at least 2; less gives the text as one piece
     */
    static QStringList Ucs2(const QString& text, int limit);
};

} // namespace tools::string

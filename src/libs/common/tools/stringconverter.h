#pragma once

#include <common/vxcommon_export.h>

#include <QByteArray>
#include <QString>

namespace tools::string
{

/// Turns text into hexadecimal, MD5 and a braced form. Any thread may call.
class VXCOMMON_EXPORT converter
{
public:
    converter() = delete;

    /// The UTF-8 bytes of `text` as lower-case hexadecimal digits.
    static QString ToHex(const QString& text);

    /// The MD5 sum (RFC 1321) of `data` as 32 lower-case hexadecimal digits. A checksum, no protection.
    static QString ToMD5(const QByteArray& data);
    static QString ToMD5(const QString& text); ///< As above, of the UTF-8 bytes of `text`.

    /**
     * The hexadecimal form of `text` in braces, with dashes between groups of digits, counted from the left.
     *
     * A dash is set behind `group` digits as long as at least 2 * `group` - 1 digits were left before them,
     * so the group behind the last dash holds `group` - 1 to 2 * `group` - 2 digits: "abcd" in groups of 4
     * gives "{6162-6364}", "abcde" gives "{6162-636465}".
     *
     * @param group digits in a group; 0 gives no dash
     */
    static QString ToUuidForm(const QString& text, unsigned int group);
};

} // namespace tools::string

#pragma once

#include <common/vxcommon_export.h>

#include <QByteArray>
#include <QString>

namespace tools::string
{

/// Converts strings to hexadecimal digits, MD5 sums and a braced form. Thread-safe.
class VXCOMMON_EXPORT converter
{
public:
    converter() = delete;

    /// Returns the UTF-8 bytes of `text` as lower-case hexadecimal digits.
    static QString ToHex(const QString& text);

    /// Returns the MD5 sum (RFC 1321) of `data` as 32 lower-case hexadecimal digits. The sum detects only
    /// accidental damage.
    static QString ToMD5(const QByteArray& data);
    static QString ToMD5(const QString& text); ///< As above, for the UTF-8 bytes of `text`.

    /**
     * Returns the hexadecimal digits of `text` in braces, with dashes between groups.
     *
     * In groups of 4, "abcd" gives "{6162-6364}" and "abcde" gives "{6162-636465}"; in groups of 3, "abcd"
     * gives "{616-263-64}". The groups are counted from the left. A dash follows a group if at least
     * `group` - 1 digits remain after it.
     *
     * @param group number of digits in a group; 0 gives no dash
     */
    static QString ToUuidForm(const QString& text, unsigned int group);
};

} // namespace tools::string

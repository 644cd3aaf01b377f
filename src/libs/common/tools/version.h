#pragma once

#include <common/vxcommon_export.h>

#include <QString>

namespace common
{

/// A version number with four parts, compared part by part.
class VXCOMMON_EXPORT Version
{
public:
    Version() = default; ///< Creates the null version, 0.0.0.0, which is less than any other.
    /// Creates a version of four parts.
    Version(unsigned int major_, unsigned int minor_, unsigned int build_, unsigned int release_);

    /// Parses up to four parts that are separated by "-", ",", "_" or ".". A part that is not a decimal
    /// number counts as 0.
    Version(const QString& text);
    Version(const char* text); ///< As above, from UTF-8.

    operator bool() const { return !IsNull(); } ///< Returns whether any part is not 0.
    bool IsNull() const;                        ///< Returns whether all parts are 0.

    unsigned int Major() const { return major; }     ///< Returns the first part.
    unsigned int Minor() const { return minor; }     ///< Returns the second part.
    unsigned int Build() const { return build; }     ///< Returns the third part.
    unsigned int Release() const { return release; } ///< Returns the fourth part.

    QString ToString() const; ///< Returns all four parts, separated by dots.

    bool operator==(const Version& other) const;                              ///< All parts are equal.
    bool operator!=(const Version& other) const { return !(*this == other); } ///< Some part differs.
    bool operator<(const Version& other) const; ///< Compares the first parts that differ.
    bool operator<=(const Version& other) const { return !(other < *this); } ///< Less or equal.
    bool operator>(const Version& other) const { return other < *this; }     ///< @see operator<
    bool operator>=(const Version& other) const { return !(*this < other); } ///< Greater or equal.

private:
    bool parse(const QString& text);

    unsigned int major = 0;
    unsigned int minor = 0;
    unsigned int build = 0;
    unsigned int release = 0;
};

} // namespace common

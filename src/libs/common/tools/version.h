#pragma once

#include <common/vxcommon_export.h>

#include <QString>

namespace common
{

/// A version number of four parts, ordered part by part. A plain value.
class VXCOMMON_EXPORT Version
{
public:
    Version() = default; ///< The null version, 0.0.0.0; less than every other.
    Version(unsigned int majorPart, unsigned int minorPart, unsigned int buildPart, unsigned int releasePart);

    /// Reads up to four parts between any of "-", ",", "_" and "."; a part that is no decimal number counts
    /// as 0.
    Version(const QString& text);
    Version(const char* text); ///< As above, from UTF-8.

    operator bool() const { return !IsNull(); }
    bool IsNull() const;

    unsigned int Major() const { return major; }
    unsigned int Minor() const { return minor; }
    unsigned int Build() const { return build; }
    unsigned int Release() const { return release; }

    QString ToString() const; ///< All four parts between dots.

    bool operator==(const Version& other) const;
    bool operator!=(const Version& other) const { return !(*this == other); }
    bool operator<(const Version& other) const;
    bool operator<=(const Version& other) const { return !(other < *this); }
    bool operator>(const Version& other) const { return other < *this; }
    bool operator>=(const Version& other) const { return !(*this < other); }

private:
    bool parse(const QString& text);

    unsigned int major = 0;
    unsigned int minor = 0;
    unsigned int build = 0;
    unsigned int release = 0;
};

} // namespace common

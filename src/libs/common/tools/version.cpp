#include <common/tools/version.h>

#include <QRegularExpression>
#include <QStringList>

#include <tuple>

namespace common
{

Version::Version(unsigned int major_, unsigned int minor_, unsigned int build_, unsigned int release_)
    : major{major_}
    , minor{minor_}
    , build{build_}
    , release{release_}
{}

Version::Version(const QString& text)
{
    parse(text);
}

Version::Version(const char* text)
{
    parse(QString::fromUtf8(text));
}

bool Version::IsNull() const
{
    return *this == Version();
}

QString Version::ToString() const
{
    return QStringLiteral("%1.%2.%3.%4").arg(major).arg(minor).arg(build).arg(release);
}

bool Version::operator==(const Version& other) const
{
    return major == other.major && minor == other.minor && build == other.build && release == other.release;
}

bool Version::operator<(const Version& other) const
{
    return std::tie(major, minor, build, release) <
           std::tie(other.major, other.minor, other.build, other.release);
}

bool Version::parse(const QString& text)
{
    static const QRegularExpression separator(QStringLiteral("[-,_.]"));
    const QStringList parts = text.split(separator);
    major = parts.value(0).toUInt();
    minor = parts.value(1).toUInt();
    build = parts.value(2).toUInt();
    release = parts.value(3).toUInt();
    return true;
}

} // namespace common

#pragma once

#include <QString>

/// The keys of a URL scheme's registration in the settings tree of the user.
namespace common::protocolkeys
{

/// The names that identify a registered application.
struct Owner
{
    QString application;
    QString organization;
};

/// Returns the key of an application, with a trailing slash.
inline QString Application(const Owner& owner)
{
    return QLatin1String("Software/") + owner.organization + u'/' + owner.application + u'/';
}

/// Returns the key, with a trailing slash, whose values are the schemes of the application.
inline QString Capabilities(const Owner& owner)
{
    return Application(owner) + QLatin1String("Capabilities/URLAssociations/");
}

inline QString ProgId(const QString& protocol, const Owner& owner)
{
    return owner.organization + u'.' + owner.application + u'.' + protocol;
}

/// Returns the key of a scheme or of a program identifier.
inline QString Class(const QString& name)
{
    return QLatin1String("Software/Classes/") + name;
}

inline QString UserChoice(const QString& protocol)
{
    return QLatin1String("Software/Microsoft/Windows/Shell/Associations/UrlAssociations/") + protocol +
           QLatin1String("/UserChoice/Progid");
}

/// Returns the part of a command after the opening quote and the path.
inline QString CommandTail()
{
    return QStringLiteral("\" --callto \"%1\"");
}

} // namespace common::protocolkeys

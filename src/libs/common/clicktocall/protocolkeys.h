#pragma once

#include <QString>

/// Where a URL scheme's registration stands in the user's settings tree.
namespace common::protocolkeys
{

/// Key of an application, with a slash at its end.
inline QString Application(const QString& application, const QString& organization)
{
    return QLatin1String("Software/") + organization + u'/' + application + u'/';
}

/// Below it each of the application's schemes is a value.
inline QString Capabilities(const QString& application, const QString& organization)
{
    return Application(application, organization) + QLatin1String("Capabilities/URLAssociations/");
}

inline QString ProgId(const QString& protocol, const QString& application, const QString& organization)
{
    return organization + u'.' + application + u'.' + protocol;
}

/// Key of a scheme or of a program identifier.
inline QString Class(const QString& name)
{
    return QLatin1String("Software/Classes/") + name;
}

inline QString UserChoice(const QString& protocol)
{
    return QLatin1String("Software/Microsoft/Windows/Shell/Associations/UrlAssociations/") + protocol +
           QLatin1String("/UserChoice/Progid");
}

/// What a command is made of: a quoted path, then this.
inline QString CommandTail()
{
    return QStringLiteral("\" --callto \"%1\"");
}

} // namespace common::protocolkeys

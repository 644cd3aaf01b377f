#include <common/clicktocall/clicktocall.h>

#include "urlhandlers.h"

#include <common/logger/logger.h>

#include <QCoreApplication>
#include <QDir>

#include <utility>

namespace common
{

namespace
{

constexpr logger::Channel logChannel{"common.clicktocall"};

using protocolkeys::Owner;

bool IsOwnProgid(const QString& value, const Owner& owner)
{
    return value.startsWith(owner.application) ||
           value.startsWith(owner.organization + u'.' + owner.application + u'.');
}

/// Saves the settings and returns whether they were written. Logs an Error line on failure.
bool Save(platform::UserSettings& settings, const char* function)
{
    const QSettings::Status status = settings.Save();
    if (status != QSettings::NoError) {
        LOG_MESSAGE(logger::Error) << function << static_cast<int>(status);
    }
    return status == QSettings::NoError;
}

/// Registry values that refer to the running program.
struct Program
{
    QString icon;
    QString command;
};

Program RunningProgram()
{
    const QString path = QDir::toNativeSeparators(QCoreApplication::applicationFilePath());
    // Kept for compatibility: the quotes include the index of the icon.
    return {u'"' + path + QLatin1String(",1\""), u'"' + path + protocolkeys::CommandTail()};
}

void WriteApplication(QSettings& settings, const Program& program, const Owner& owner)
{
    const QString base = protocolkeys::Application(owner);
    settings.setValue(base + QLatin1String("DefaultLanguage"), QStringLiteral("en-US"));
    settings.setValue(base + QLatin1String("Capabilities/ApplicationDescription"), owner.application);
    settings.setValue(base + QLatin1String("Capabilities/ApplicationIcon"), program.icon);
    settings.setValue(base + QLatin1String("Capabilities/ApplicationName"), owner.application);
    settings.setValue(base + QLatin1String("Protocols/Default"), QString());
    settings.setValue(base + QLatin1String("shell/open/command/Default"), program.command);
    settings.setValue(QLatin1String("Software/RegisteredApplications/") + owner.application,
                      QLatin1String("SOFTWARE\\") + owner.organization + u'\\' + owner.application +
                          QLatin1String("\\Capabilities"));
}

void WriteProtocol(QSettings& settings, const QString& protocol, const Program& program, const Owner& owner)
{
    const QString scheme = protocolkeys::Class(protocol);
    settings.setValue(scheme + QLatin1String("/Default"), QStringLiteral("URL:%1 Protocol").arg(protocol));
    settings.setValue(scheme + QLatin1String("/URL Protocol"), QString());
    settings.setValue(scheme + QLatin1String("/DefaultIcon/Default"), program.icon);
    settings.setValue(scheme + QLatin1String("/shell/open/command/Default"), program.command);

    const QString progId = protocolkeys::ProgId(protocol, owner);
    const QString identifier = protocolkeys::Class(progId);
    // Kept for compatibility: this name has spaces around the colon; the name of the scheme has none.
    settings.setValue(identifier + QLatin1String("/Default"),
                      QStringLiteral("URL : %1 Protocol").arg(protocol));
    settings.setValue(identifier + QLatin1String("/DefaultIcon/Default"), program.icon);
    settings.setValue(identifier + QLatin1String("/shell/open/command/Default"), program.command);
    settings.setValue(protocolkeys::Capabilities(owner) + protocol, progId);
}

} // namespace

QList<QString> ClickToCall::availableProtocols()
{
    return {QStringLiteral("callto"), QStringLiteral("tel"), QStringLiteral("sip"), QStringLiteral("sms"),
            QStringLiteral("fax")};
}

QList<QString> ClickToCall::currentAvailableProtocols()
{
    return {QStringLiteral("callto"), QStringLiteral("tel"), QStringLiteral("sip")};
}

bool ClickToCall::registerProtocols(const QList<QString>& protocols, const QString& application,
                                    const QString& organization)
{
    if (protocols.isEmpty()) {
        return true;
    }
    const Owner owner{application, organization};
    const Program program = RunningProgram();
    auto settings = platform::EditUserSettings();
    WriteApplication(settings->Tree(), program, owner);
    for (const QString& protocol : protocols) {
        WriteProtocol(settings->Tree(), protocol, program, owner);
    }
    const bool written = Save(*settings, "ClickToCall::registerProtocols");
    for (const QString& protocol : protocols) {
        // Kept for compatibility: stores the name of the application, not the program identifier.
        settings->Tree().setValue(protocolkeys::UserChoice(protocol), application);
    }
    settings->Save();
    urlhandlers::NotifyChanged(std::move(settings), owner, protocols);
    return written;
}

bool ClickToCall::unregisterProtocols(const QList<QString>& protocols, const QString& application,
                                      const QString& organization)
{
    if (protocols.isEmpty()) {
        return true;
    }
    const Owner owner{application, organization};
    auto settings = platform::EditUserSettings();
    for (const QString& protocol : protocols) {
        QSettings& tree = settings->Tree();
        tree.remove(protocolkeys::Class(protocolkeys::ProgId(protocol, owner)));
        tree.remove(protocolkeys::Capabilities(owner) + protocol);
        const QString scheme = protocolkeys::Class(protocol);
        tree.setValue(scheme + QLatin1String("/DefaultIcon/Default"), QString());
        tree.setValue(scheme + QLatin1String("/shell/open/command/Default"), QString());
    }
    const bool written = Save(*settings, "ClickToCall::unregisterProtocols");
    for (const QString& protocol : protocols) {
        if (IsOwnProgid(urlhandlers::UserChoice(settings->Tree(), protocol, owner), owner)) {
            settings->Tree().setValue(protocolkeys::UserChoice(protocol), QString());
        }
    }
    settings->Save();
    urlhandlers::NotifyChanged(std::move(settings), owner, {});
    return written;
}

bool ClickToCall::unregisterApplication(const QString& application, const QString& organization)
{
    const Owner owner{application, organization};
    auto settings = platform::EditUserSettings();
    settings->Tree().remove(protocolkeys::Application(owner));
    settings->Tree().remove(QLatin1String("Software/RegisteredApplications/") + application);
    const bool written = Save(*settings, "ClickToCall::unregisterApplication");
    urlhandlers::NotifyChanged(std::move(settings), owner, {});
    return written;
}

QList<QString> ClickToCall::stateOfProtocols(const QString& application, const QString& organization)
{
    const Owner owner{application, organization};
    const auto tree = platform::ReadUserSettings();
    QList<QString> own;
    for (const QString& protocol : availableProtocols()) {
        const QString identifier = protocolkeys::Class(protocolkeys::ProgId(protocol, owner));
        const QString description = tree->value(identifier + QLatin1String("/Default")).toString();
        const QString capability = tree->value(protocolkeys::Capabilities(owner) + protocol).toString();
        const QString choice = urlhandlers::UserChoice(*tree, protocol, owner);
        if (!description.isEmpty() && !capability.isEmpty() &&
            (choice.isEmpty() || IsOwnProgid(choice, owner))) {
            own += protocol;
        }
    }
    return own;
}

} // namespace common

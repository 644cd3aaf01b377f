#include <common/clicktocall/clicktocall.h>

#include "../platform/usersettings.h"
#include "protocolkeys.h"
#include "urlhandlers.h"

#include <common/logger/logger.h>

#include <QCoreApplication>
#include <QDir>

namespace common
{

namespace
{

constexpr logger::Channel logChannel{"common.clicktocall"};

std::unique_ptr<QSettings> OpenSettings(platform::UserSettingsAccess access)
{
    return platform::OpenUserSettings(QStringLiteral("HKEY_CURRENT_USER"), access);
}

bool IsOwnProgid(const QString& value, const QString& application, const QString& organization)
{
    return value.startsWith(application) || value.startsWith(organization + u'.' + application + u'.');
}

/// The first of two synchronisations, whose outcome is the outcome of the call.
bool Synchronise(QSettings& settings, const char* function)
{
    settings.sync();
    const QSettings::Status status = settings.status();
    if (status != QSettings::NoError) {
        LOG_MESSAGE(logger::Error) << function << static_cast<int>(status);
    }
    return status == QSettings::NoError;
}

/// What is written for the running program.
struct Registration
{
    QString application;
    QString organization;
    QString icon;
    QString command;
};

Registration RunningProgram(const QString& application, const QString& organization)
{
    const QString program = QDir::toNativeSeparators(QCoreApplication::applicationFilePath());
    // The quotes hold the icon's index, too. This is meant.
    return {application, organization, u'"' + program + QLatin1String(",1\""),
            u'"' + program + protocolkeys::CommandTail()};
}

void WriteApplication(QSettings& settings, const Registration& registration)
{
    const QString& application = registration.application;
    const QString base = protocolkeys::Application(application, registration.organization);
    settings.setValue(base + QLatin1String("DefaultLanguage"), QStringLiteral("en-US"));
    settings.setValue(base + QLatin1String("Capabilities/ApplicationDescription"), application);
    settings.setValue(base + QLatin1String("Capabilities/ApplicationIcon"), registration.icon);
    settings.setValue(base + QLatin1String("Capabilities/ApplicationName"), application);
    settings.setValue(base + QLatin1String("Protocols/Default"), QString());
    settings.setValue(base + QLatin1String("shell/open/command/Default"), registration.command);
    settings.setValue(QLatin1String("Software/RegisteredApplications/") + application,
                      QLatin1String("SOFTWARE\\") + registration.organization + u'\\' + application +
                          QLatin1String("\\Capabilities"));
}

void WriteProtocol(QSettings& settings, const QString& protocol, const Registration& registration)
{
    const QString scheme = protocolkeys::Class(protocol);
    settings.setValue(scheme + QLatin1String("/Default"), QStringLiteral("URL:%1 Protocol").arg(protocol));
    settings.setValue(scheme + QLatin1String("/URL Protocol"), QString());
    settings.setValue(scheme + QLatin1String("/DefaultIcon/Default"), registration.icon);
    settings.setValue(scheme + QLatin1String("/shell/open/command/Default"), registration.command);

    const QString progId =
        protocolkeys::ProgId(protocol, registration.application, registration.organization);
    const QString identifier = protocolkeys::Class(progId);
    // With blanks around the colon, unlike the scheme above. This is meant.
    settings.setValue(identifier + QLatin1String("/Default"),
                      QStringLiteral("URL : %1 Protocol").arg(protocol));
    settings.setValue(identifier + QLatin1String("/DefaultIcon/Default"), registration.icon);
    settings.setValue(identifier + QLatin1String("/shell/open/command/Default"), registration.command);
    settings.setValue(
        protocolkeys::Capabilities(registration.application, registration.organization) + protocol, progId);
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
    const Registration registration = RunningProgram(application, organization);
    const auto settings = OpenSettings(platform::UserSettingsAccess::Write);
    WriteApplication(*settings, registration);
    for (const QString& protocol : protocols) {
        WriteProtocol(*settings, protocol, registration);
    }
    const bool written = Synchronise(*settings, "ClickToCall::registerProtocols");
    for (const QString& protocol : protocols) {
        // The bare name of the application, not its identifier. This is meant.
        settings->setValue(protocolkeys::UserChoice(protocol), application);
    }
    settings->sync();
    urlhandlers::NotifyChanged(*settings, application, organization, protocols);
    return written;
}

bool ClickToCall::unregisterProtocols(const QList<QString>& protocols, const QString& application,
                                      const QString& organization)
{
    if (protocols.isEmpty()) {
        return true;
    }
    const auto settings = OpenSettings(platform::UserSettingsAccess::Write);
    for (const QString& protocol : protocols) {
        settings->remove(protocolkeys::Class(protocolkeys::ProgId(protocol, application, organization)));
        settings->remove(protocolkeys::Capabilities(application, organization) + protocol);
        const QString scheme = protocolkeys::Class(protocol);
        settings->setValue(scheme + QLatin1String("/DefaultIcon/Default"), QString());
        settings->setValue(scheme + QLatin1String("/shell/open/command/Default"), QString());
    }
    const bool written = Synchronise(*settings, "ClickToCall::unregisterProtocols");
    for (const QString& protocol : protocols) {
        const QString choice = urlhandlers::UserChoice(*settings, protocol, application, organization);
        if (IsOwnProgid(choice, application, organization)) {
            settings->setValue(protocolkeys::UserChoice(protocol), QString());
        }
    }
    settings->sync();
    urlhandlers::NotifyChanged(*settings, application, organization, {});
    return written;
}

bool ClickToCall::unregisterApplication(const QString& application, const QString& organization)
{
    const auto settings = OpenSettings(platform::UserSettingsAccess::Write);
    settings->remove(protocolkeys::Application(application, organization));
    settings->remove(QLatin1String("Software/RegisteredApplications/") + application);
    const bool written = Synchronise(*settings, "ClickToCall::unregisterApplication");
    urlhandlers::NotifyChanged(*settings, application, organization, {});
    return written;
}

QList<QString> ClickToCall::stateOfProtocols(const QString& application, const QString& organization)
{
    const auto settings = OpenSettings(platform::UserSettingsAccess::Read);
    QList<QString> own;
    for (const QString& protocol : availableProtocols()) {
        const QString progId = protocolkeys::ProgId(protocol, application, organization);
        const QString description =
            settings->value(protocolkeys::Class(progId) + QLatin1String("/Default")).toString();
        const QString capability =
            settings->value(protocolkeys::Capabilities(application, organization) + protocol).toString();
        const QString choice = urlhandlers::UserChoice(*settings, protocol, application, organization);
        if (!description.isEmpty() && !capability.isEmpty() &&
            (choice.isEmpty() || IsOwnProgid(choice, application, organization))) {
            own += protocol;
        }
    }
    return own;
}

} // namespace common

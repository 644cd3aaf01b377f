#include <common/chrome/pluginutils.h>

#include "../platform/usersettings.h"
#include "externalextension.h"

#include <common/logger/logger.h>

#include <QDir>
#include <QVariant>

namespace common::chrome
{

namespace
{

constexpr logger::Channel logChannel{"common.pluginutils"};

const QString rootPath = QStringLiteral("HKEY_CURRENT_USER");
const QString updateUrlName = QStringLiteral("update_url");
const QString updateUrl = QStringLiteral("https://clients2.google.com/service/update2/crx");

QString ExtensionKey(const QString& id)
{
    return QStringLiteral("/Software/Google/Chrome/Extensions/") + id;
}

QString StorePath(const QString& id)
{
    return QDir::toNativeSeparators(rootPath + ExtensionKey(id));
}

void SetValue(QSettings& settings)
{
    settings.setValue(updateUrlName, updateUrl);
    settings.sync();
    if (settings.status() != QSettings::NoError) {
        LOG_MESSAGE(logger::Error) << "Error (" << static_cast<int>(settings.status())
                                   << ") while writing setting '" << updateUrlName << "' to '"
                                   << settings.fileName() << "'.";
    }
}

void RemoveValue(QSettings& settings, const QString& key)
{
    settings.remove(key);
    settings.sync();
    if (settings.status() != QSettings::NoError) {
        LOG_MESSAGE(logger::Error) << "Error (" << static_cast<int>(settings.status())
                                   << ") while removing setting '" << key << "' from '" << settings.fileName()
                                   << "'.";
    }
}

} // namespace

bool PluginUtils::IsChromeInstalled()
{
    return true;
}

bool PluginUtils::IsRegistered(const QString& id)
{
    const auto settings = platform::OpenUserSettings(StorePath(id), platform::UserSettingsAccess::Read);
    return settings->value(updateUrlName) == QVariant(updateUrl);
}

bool PluginUtils::RegisterPlugin(const QString& id)
{
    const auto settings = platform::OpenUserSettings(StorePath(id), platform::UserSettingsAccess::Write);
    if (IsRegistered(id)) {
        LOG_MESSAGE(logger::Warn) << "Registry key '" << updateUrlName << "' with value '" << updateUrl
                                  << "' already exists in '" << StorePath(id) << "'";
        return false;
    }
    if (!settings->isWritable()) {
        LOG_MESSAGE(logger::Error) << "Can't write to registry at " << StorePath(id);
        return false;
    }
    SetValue(*settings);
    externalextension::Publish(id, updateUrl);
    return true;
}

bool PluginUtils::UnregisterPlugin(const QString& id)
{
    if (!IsRegistered(id)) {
        return true;
    }
    const auto settings = platform::OpenUserSettings(rootPath, platform::UserSettingsAccess::Write);
    RemoveValue(*settings, ExtensionKey(id));
    externalextension::Withdraw(id, updateUrl);
    return true;
}

} // namespace common::chrome

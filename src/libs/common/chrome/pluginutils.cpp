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

const QString updateUrlName = QStringLiteral("update_url");
const QString updateUrl = QStringLiteral("https://clients2.google.com/service/update2/crx");

QString ExtensionKey(const QString& id)
{
    return QStringLiteral("/Software/Google/Chrome/Extensions/") + id;
}

QString StorePath(const QString& id)
{
    return QDir::toNativeSeparators(QLatin1String("HKEY_CURRENT_USER") + ExtensionKey(id));
}

bool SetValue(platform::UserSettings& settings)
{
    settings.Tree().setValue(updateUrlName, updateUrl);
    const QSettings::Status status = settings.Save();
    if (status != QSettings::NoError) {
        LOG_MESSAGE(logger::Error) << "Error (" << static_cast<int>(status) << ") while writing setting '"
                                   << updateUrlName << "' to '" << settings.FileName() << "'.";
    }
    return status == QSettings::NoError;
}

bool RemoveValue(platform::UserSettings& settings, const QString& key)
{
    settings.Tree().remove(key);
    const QSettings::Status status = settings.Save();
    if (status != QSettings::NoError) {
        LOG_MESSAGE(logger::Error) << "Error (" << static_cast<int>(status) << ") while removing setting '"
                                   << key << "' from '" << settings.FileName() << "'.";
    }
    return status == QSettings::NoError;
}

} // namespace

bool PluginUtils::IsChromeInstalled()
{
    return true;
}

bool PluginUtils::IsRegistered(const QString& id)
{
    return platform::ReadUserSettings(StorePath(id))->value(updateUrlName) == QVariant(updateUrl);
}

bool PluginUtils::RegisterPlugin(const QString& id)
{
    const auto settings = platform::EditUserSettings(StorePath(id));
    if (IsRegistered(id)) {
        LOG_MESSAGE(logger::Warn) << "Registry key '" << updateUrlName << "' with value '" << updateUrl
                                  << "' already exists in '" << StorePath(id) << "'";
        return false;
    }
    if (!settings->IsWritable()) {
        LOG_MESSAGE(logger::Error) << "Can't write to registry at " << StorePath(id);
        return false;
    }
    if (SetValue(*settings)) {
        externalextension::Publish(id, updateUrl);
    }
    return true;
}

bool PluginUtils::UnregisterPlugin(const QString& id)
{
    if (!IsRegistered(id)) {
        return true;
    }
    const auto settings = platform::EditUserSettings();
    if (RemoveValue(*settings, ExtensionKey(id))) {
        externalextension::Withdraw(id, updateUrl);
    }
    return true;
}

} // namespace common::chrome

#include "../usersettings.h"

namespace common::platform
{

std::unique_ptr<QSettings> OpenUserSettings(const QString& path, UserSettingsAccess /*access*/)
{
    return std::make_unique<QSettings>(path, QSettings::NativeFormat);
}

} // namespace common::platform

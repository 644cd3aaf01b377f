#include "../usersettings.h"

namespace common::platform
{

namespace
{

class Registry final : public UserSettings
{
public:
    explicit Registry(const QString& path) { tree = ReadUserSettings(path); }

    bool IsWritable() const override { return tree->isWritable(); }
    QString FileName() const override { return tree->fileName(); }

    QSettings::Status Save() override
    {
        tree->sync();
        return tree->status();
    }
};

} // namespace

std::unique_ptr<QSettings> ReadUserSettings(const QString& path)
{
    return std::make_unique<QSettings>(path, QSettings::NativeFormat);
}

std::unique_ptr<UserSettings> EditUserSettings(const QString& path)
{
    return std::make_unique<Registry>(path);
}

} // namespace common::platform

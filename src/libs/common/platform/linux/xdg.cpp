#include "xdg.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace common::platform::xdg
{

namespace
{

QString Location(QStandardPaths::StandardLocation type, const char* defaultBelowHome)
{
    const QString path = QStandardPaths::writableLocation(type);
    return QDir::isAbsolutePath(path) ? path : QDir::homePath() + QLatin1String(defaultBelowHome);
}

} // namespace

QString ConfigHome()
{
    return Location(QStandardPaths::GenericConfigLocation, "/.config");
}

QString DataHome()
{
    return Location(QStandardPaths::GenericDataLocation, "/.local/share");
}

QString ApplicationsHome()
{
    return DataHome() + QLatin1String("/applications");
}

QString DesktopDirectory()
{
    return Location(QStandardPaths::DesktopLocation, "/Desktop");
}

QStringList ApplicationsDirectories()
{
    QStringList directories = QStandardPaths::standardLocations(QStandardPaths::ApplicationsLocation);
    directories.removeIf([](const QString& path) { return QDir::isRelativePath(path); });
    directories.prepend(ApplicationsHome());
    directories.removeDuplicates();
    return directories;
}

void MakePrivatePath(const QString& path)
{
    const QFileInfo info(path);
    if (!info.exists() && info.path() != info.filePath()) {
        MakePrivatePath(info.path());
        QDir().mkdir(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
}

} // namespace common::platform::xdg

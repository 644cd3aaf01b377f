#include <common/logger/logger.h>
#include <common/shell/shell.h>

#include "shellservices.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QStandardPaths>

#include <atomic>

namespace common
{

namespace
{

constexpr logger::Channel logChannel{"common.shell"};

/// First number in temporary names. It has three digits, so that the first 900 names of a process sort in
/// order.
constexpr int firstTempNumber = 100;

} // namespace

QString Shell::AppPath()
{
    return shellservices::FolderPath(shellservices::Folder::ApplicationData);
}

QString Shell::DesktopPath()
{
    return shellservices::FolderPath(shellservices::Folder::Desktop);
}

QString Shell::StartMenuPath()
{
    return shellservices::FolderPath(shellservices::Folder::Programs);
}

QString Shell::QuickLaunchPath()
{
    QString path = AppPath();
    if (!path.isEmpty()) {
        path += QLatin1String("/Microsoft/Internet Explorer/Quick Launch");
    }
    return QDir::toNativeSeparators(path);
}

bool Shell::IsQuickLaunchAvailable()
{
    return false;
}

QString Shell::applicationDirPath()
{
    const QString executable = shellservices::ExecutablePath();
    if (executable.isEmpty()) {
        LOG_MESSAGE(logger::Error) << "Shell::applicationDirPath failed";
        return {};
    }
    return QFileInfo(executable).absolutePath();
}

QString Shell::TempPath()
{
    static std::atomic<int> nextNumber{firstTempNumber};

    const QString directory = QStandardPaths::writableLocation(QStandardPaths::TempLocation);
    const QString time = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMddHHmmss"));
    return QDir::toNativeSeparators(directory) + QDir::separator() +
           QStringLiteral("QUOLL_%1_%2").arg(time).arg(nextNumber++);
}

bool Shell::Is64BitSystem()
{
    return true;
}

QString Shell::LocaleName()
{
    const QLocale locale = QLocale::system();
    const QStringList languages = locale.uiLanguages();
    return languages.isEmpty() ? locale.name() : languages.first();
}

} // namespace common

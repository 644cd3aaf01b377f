#include "../shellservices.h"

#include "../../platform/linux/busconnection.h"
#include "../../platform/linux/desktopentry.h"
#include "../../platform/linux/xdg.h"
#include "../../platform/savefile.h"
#include "../filepath.h"
#include "spawn.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <chrono>
#include <utility>

#include <unistd.h>

namespace common::shellservices
{

namespace
{

/// Timeout for the file manager, including its start; leaves time to start xdg-open.
constexpr std::chrono::milliseconds fileManagerLimit{1500};

/// Returns whether an error means that no file manager has responded.
bool IsNobodyThere(const QDBusMessage& error)
{
    switch (QDBusError(error).type()) {
    case QDBusError::ServiceUnknown:
    case QDBusError::NoServer:
    case QDBusError::Disconnected:
    case QDBusError::NoReply:
    case QDBusError::Timeout:
    case QDBusError::TimedOut:
    case QDBusError::UnknownMethod:
    case QDBusError::UnknownInterface:
    case QDBusError::UnknownObject:
        return true;
    default:
        return error.errorName().startsWith(QLatin1String("org.freedesktop.DBus.Error.Spawn."));
    }
}

} // namespace

QString FolderPath(Folder folder)
{
    QString path;
    switch (folder) {
    case Folder::ApplicationData:
        path = platform::xdg::DataHome();
        break;
    case Folder::Desktop:
        path = platform::xdg::DesktopDirectory();
        break;
    case Folder::Programs:
        path = platform::xdg::ApplicationsHome();
        break;
    }
    platform::xdg::MakePrivatePath(path);
    return path;
}

QString ExecutablePath()
{
    return QFile::symLinkTarget(QStringLiteral("/proc/self/exe"));
}

std::optional<bool> SelectInFileManager(const QString& path)
{
    const QDeadlineTimer deadline(fileManagerLimit);
    platform::BusConnection bus(platform::BusConnection::SessionBusAddress(), deadline);
    if (!bus.IsOpen()) {
        return std::nullopt;
    }
    const QString service = QStringLiteral("org.freedesktop.FileManager1");
    QDBusMessage call = QDBusMessage::createMethodCall(
        service, QStringLiteral("/org/freedesktop/FileManager1"), service, QStringLiteral("ShowItems"));
    const QByteArray uri = QUrl::fromLocalFile(ResolvedPath(path)).toEncoded();
    call << QStringList{QString::fromLatin1(uri)} << QString();
    const QDBusMessage reply = bus.Call(call, deadline);
    if (reply.type() == QDBusMessage::ReplyMessage) {
        return true;
    }
    return IsNobodyThere(reply) ? std::nullopt : std::optional(false);
}

bool StartFileManager(const QString& path, QString& command)
{
    const QFileInfo info(ResolvedPath(path));
    const QString folder = info.isDir() ? info.filePath() : info.path();
    const QString program = QStringLiteral("xdg-open");
    command = program + u' ' + folder;
    return SpawnDetached(program, {folder}, QString()) == 0;
}

bool SaveShortcut(const Shortcut& shortcut, const QString& path)
{
    if (shortcut.target.isEmpty()) {
        return false;
    }
    // A name without a slash is looked up in PATH; any other must be absolute.
    const QString program = shortcut.target.contains(u'/') ? ResolvedPath(shortcut.target) : shortcut.target;
    const QString fileName = QFileInfo(path).completeBaseName();
    const QString name = fileName.isEmpty() ? QFileInfo(program).fileName() : fileName;
    const QString exec = platform::DesktopExec(program, platform::SplitArguments(shortcut.arguments));
    QString text = QStringLiteral("[Desktop Entry]\nType=Application\n") +
                   platform::DesktopEntryLine(QStringLiteral("Name"), name) +
                   platform::DesktopEntryLine(QStringLiteral("Exec"), exec);
    const std::pair<QString, QString> optionalKeys[] = {
        {QStringLiteral("Path"), ResolvedPath(shortcut.workingDirectory)},
        {QStringLiteral("Comment"), shortcut.description},
        {QStringLiteral("StartupWMClass"), shortcut.applicationId}};
    for (const auto& [key, value] : optionalKeys) {
        if (!value.isEmpty()) {
            text += platform::DesktopEntryLine(key, value);
        }
    }
    // If the path is a link, replace the link, so that it cannot redirect the write.
    if (QFileInfo(path).isSymLink() && !QFile::remove(path)) {
        return false;
    }
    // Desktops start only entries that are marked executable.
    return platform::SaveFile(path, text.toUtf8(), platform::FileAccess::Executable) ==
           platform::SaveOutcome::Saved;
}

unsigned long StartRemoval(const QString& directory, const QString& workingDirectory, QString& command)
{
    const QString shell = QStringLiteral("/bin/sh");
    // Waits for the end of process $2 for up to 5 s. The path is an argument, so that nothing in it is read
    // as a command or an option.
    const QString script = QStringLiteral("for i in 1 2 3 4 5; do kill -0 \"$2\" 2>/dev/null || break; "
                                          "sleep 1; done; rm -rf -- \"$1\"");
    // An empty path stays empty and removes nothing, although Qt treats it as the current directory.
    const QStringList arguments{QStringLiteral("-c"), script, QStringLiteral("sh"), ResolvedPath(directory),
                                QString::number(getpid())};
    command = shell + u' ' + arguments.join(u' ');
    return static_cast<unsigned long>(SpawnDetached(shell, arguments, workingDirectory));
}

} // namespace common::shellservices

#include "../shellservices.h"

#include "../../platform/linux/busconnection.h"
#include "../../platform/linux/desktopentry.h"
#include "../filepath.h"
#include "spawn.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSaveFile>
#include <QStandardPaths>
#include <QUrl>

#include <chrono>

#include <unistd.h>

namespace common::shellservices
{

namespace
{

/// What the file manager may take, starting up included. Leaves time for the program that is tried next.
constexpr std::chrono::milliseconds fileManagerLimit{1500};

/// XDG: what is not absolute is no valid setting.
QString Location(QStandardPaths::StandardLocation type, const char* defaultBelowHome)
{
    const QString path = QStandardPaths::writableLocation(type);
    return QDir::isAbsolutePath(path) ? path : QDir::homePath() + QLatin1String(defaultBelowHome);
}

/// XDG: a base directory that is missing is made for its user only.
void MakePrivatePath(const QString& path)
{
    const QFileInfo info(path);
    if (!info.exists() && info.path() != info.filePath()) {
        MakePrivatePath(info.path());
        QDir().mkdir(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
}

/// Whether an error comes from the bus, which has no file manager to ask, rather than from a file manager.
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
    const QString data = Location(QStandardPaths::GenericDataLocation, "/.local/share");
    QString path;
    switch (folder) {
    case Folder::ApplicationData:
        path = data;
        break;
    case Folder::Desktop:
        path = Location(QStandardPaths::DesktopLocation, "/Desktop");
        break;
    case Folder::Programs:
        path = data + QLatin1String("/applications");
        break;
    }
    MakePrivatePath(path);
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
    // A name without a slash is one to look up in PATH; any other must be absolute.
    const QString program = shortcut.target.contains(u'/') ? ResolvedPath(shortcut.target) : shortcut.target;
    const QString exec = platform::DesktopExec(program, QProcess::splitCommand(shortcut.arguments));
    QString text = QStringLiteral("[Desktop Entry]\nType=Application\n") +
                   platform::DesktopEntryLine(QStringLiteral("Name"), QFileInfo(path).completeBaseName()) +
                   platform::DesktopEntryLine(QStringLiteral("Exec"), exec);
    const std::pair<QString, QString> optionalKeys[] = {
        {QStringLiteral("Path"), shortcut.workingDirectory},
        {QStringLiteral("Comment"), shortcut.description},
        {QStringLiteral("StartupWMClass"), shortcut.applicationId}};
    for (const auto& [key, value] : optionalKeys) {
        if (!value.isEmpty()) {
            text += platform::DesktopEntryLine(key, value);
        }
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        return false;
    }
    file.write(text.toUtf8());
    // Desktops start only entries that are marked executable.
    file.setPermissions(file.permissions() | QFile::ExeOwner | QFile::ExeUser | QFile::ExeGroup |
                        QFile::ExeOther);
    return file.commit();
}

unsigned long StartRemoval(const QString& directory, const QString& workingDirectory, QString& command)
{
    const QString shell = QStringLiteral("/bin/sh");
    // Waits for the end of process $2 for up to 5 s. The path is an argument, so that nothing in it is read
    // as a command or an option.
    const QString script = QStringLiteral("for i in 1 2 3 4 5; do kill -0 \"$2\" 2>/dev/null || break; "
                                          "sleep 1; done; rm -rf -- \"$1\"");
    // An empty path stays empty and removes nothing, although Qt takes it for the current directory.
    const QStringList arguments{QStringLiteral("-c"), script, QStringLiteral("sh"), ResolvedPath(directory),
                                QString::number(getpid())};
    command = shell + u' ' + arguments.join(u' ');
    return static_cast<unsigned long>(SpawnDetached(shell, arguments, workingDirectory));
}

} // namespace common::shellservices

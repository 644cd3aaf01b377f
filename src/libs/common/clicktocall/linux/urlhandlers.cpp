#include "../urlhandlers.h"

#include "../../platform/linux/readfile.h"
#include "../../platform/linux/xdg.h"
#include "../../platform/savefile.h"
#include "handlerentry.h"
#include "mimeapps.h"

#include <common/logger/logger.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QSaveFile>
#include <QStandardPaths>

#include <algorithm>
#include <chrono>
#include <functional>

#include <unistd.h>

namespace common::urlhandlers
{

using platform::ReadFileIfAny;
using protocolkeys::Owner;

namespace
{

constexpr logger::Channel logChannel{"common.clicktocall"};

/// Timeout for update-desktop-database, which usually takes milliseconds. Desktops find the default handler
/// even without its cache.
constexpr std::chrono::milliseconds cacheLimit{5000};

/// Maximum number of attempts to replace a list that other programs keep changing.
constexpr int maxAttempts = 100;

/// Returns the user's mimeapps.list files by precedence: desktop-specific, common, common in the old
/// location.
QStringList ListFiles()
{
    QStringList files;
    const QString suffix = QStringLiteral("mimeapps.list");
    const QString desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP").toLower();
    for (const QString& desktop : desktops.split(u':', Qt::SkipEmptyParts)) {
        if (!desktop.contains(u'/')) {
            files += platform::xdg::ConfigHome() + u'/' + desktop + u'-' + suffix;
        }
    }
    files += platform::xdg::ConfigHome() + u'/' + suffix;
    files += platform::xdg::ApplicationsHome() + u'/' + suffix;
    return files;
}

/// Returns the key that stores the desktop entry that was last made the default for a scheme. Used only on
/// Linux.
QString ProjectedChoiceKey(const QString& protocol)
{
    return protocolkeys::UserChoice(protocol) + QLatin1String("Entry");
}

/// Returns the MIME type of a scheme; empty if `protocol` is not a valid scheme (RFC 3986).
QByteArray TypeOf(const QString& protocol)
{
    static const QRegularExpression scheme(QStringLiteral("\\A[A-Za-z][A-Za-z0-9+.-]*\\z"));
    return scheme.match(protocol).hasMatch() ? "x-scheme-handler/" + protocol.toLower().toLatin1()
                                             : QByteArray();
}

void LogFailure(const QString& path)
{
    LOG_MESSAGE(logger::Error) << "Can't write " << path;
}

enum class Replacement
{
    Done,
    Outdated, ///< Another program has changed the file.
    Failed
};

/// Replaces a list unless another program, such as the desktop, has changed it since `old` was read. Compares
/// as late as possible, when the new bytes are on the disk.
Replacement ReplaceList(const QString& path, const QByteArray& old, const QByteArray& wanted)
{
    QDir().mkpath(QFileInfo(path).path());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(wanted) != wanted.size() || !file.flush() ||
        ::fdatasync(file.handle()) != 0) {
        return Replacement::Failed;
    }
    if (ReadFileIfAny(path) != old) {
        return Replacement::Outdated;
    }
    const bool isDone =
        wanted.isEmpty() && !QFileInfo(path).isSymLink() ? QFile::remove(path) : file.commit();
    return isDone ? Replacement::Done : Replacement::Failed;
}

void UpdateList(const QString& path, const std::function<void(MimeApps&)>& edit)
{
    Replacement result = Replacement::Outdated;
    for (int attempt = 0; attempt < maxAttempts && result == Replacement::Outdated; ++attempt) {
        const std::optional<QByteArray> old = ReadFileIfAny(path);
        if (!old) {
            result = Replacement::Failed;
            break;
        }
        MimeApps list(*old);
        edit(list);
        result = list.Text() == *old ? Replacement::Done : ReplaceList(path, *old, list.Text());
    }
    if (result != Replacement::Done) {
        LogFailure(path);
    }
}

/// Writes `wanted` to a desktop entry, or removes the entry if `wanted` is empty. Returns whether the entry
/// has changed.
bool UpdateEntry(const QString& path, const QByteArray& wanted)
{
    if (ReadFileIfAny(path) == wanted) {
        return false;
    }
    QDir().mkpath(QFileInfo(path).path());
    const bool isDone = wanted.isEmpty() ? QFile::remove(path)
                                         : platform::SaveFile(path, wanted) == platform::SaveOutcome::Saved;
    if (!isDone) {
        LogFailure(path);
    }
    return isDone;
}

/// Returns whether a desktop entry with this id exists. A "-" in the id may represent a directory separator.
bool IsInstalled(QString id)
{
    const QStringList directories = platform::xdg::ApplicationsDirectories();
    const auto hasEntry = [&id](const QString& directory) { return QFile::exists(directory + u'/' + id); };
    while (std::none_of(directories.begin(), directories.end(), hasEntry)) {
        const qsizetype dash = id.indexOf(u'-');
        if (dash < 0) {
            return false;
        }
        id[dash] = u'/';
    }
    return true;
}

/// Returns the id of the user's preferred desktop entry for `type`; empty if there is none.
QString PreferredEntry(const QByteArray& type)
{
    QString first;
    for (const QString& path : ListFiles()) {
        const MimeApps list(ReadFileIfAny(path).value_or(QByteArray()));
        for (const QByteArray& bytes : list.Defaults(type)) {
            QString id = QString::fromUtf8(bytes);
            if (IsInstalled(id)) {
                return id;
            }
            first = first.isEmpty() ? id : first;
        }
    }
    return first; // A choice counts even if its program is not installed.
}

void UpdateCache()
{
    const QString tool = QStandardPaths::findExecutable(QStringLiteral("update-desktop-database"));
    if (tool.isEmpty()) {
        return;
    }
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(tool, {QStringLiteral("--quiet"), platform::xdg::ApplicationsHome()});
    if (!process.waitForFinished(static_cast<int>(cacheLimit.count()))) {
        process.kill();
        process.waitForFinished();
    }
}

/// Returns the path of the program registered last. Different programs may have registered the schemes.
QString ProgramOf(const QSettings& settings, const Owner& owner)
{
    const QString key = protocolkeys::Application(owner) + QLatin1String("shell/open/command/Default");
    const QString command = settings.value(key).toString();
    const QString tail = protocolkeys::CommandTail();
    return command.startsWith(u'"') && command.endsWith(tail)
               ? command.mid(1, command.size() - tail.size() - 1)
               : QString();
}

/// Returns the MIME types of the registered schemes.
QByteArrayList RegisteredTypes(QSettings& settings, const Owner& owner)
{
    settings.beginGroup(protocolkeys::Capabilities(owner));
    const QStringList protocols = settings.childKeys();
    settings.endGroup();
    QByteArrayList types;
    for (const QString& protocol : protocols) {
        types += TypeOf(protocol);
    }
    types.removeAll(QByteArray());
    return types;
}

} // namespace

QString UserChoice(const QSettings& settings, const QString& protocol, const Owner& owner)
{
    QString stored = settings.value(protocolkeys::UserChoice(protocol)).toString();
    const QByteArray type = TypeOf(protocol);
    const QString entry = type.isEmpty() ? QString() : PreferredEntry(type);
    if (entry.isEmpty() || entry == settings.value(ProjectedChoiceKey(protocol)).toString()) {
        return stored;
    }
    // The user chose this entry in the settings of the desktop.
    return entry.toUtf8() == HandlerEntryId(owner) ? protocolkeys::ProgId(protocol, owner)
                                                   : u'/' + entry; // No identifier starts with a slash.
}

void NotifyChanged(std::unique_ptr<platform::UserSettings> settings, const Owner& owner,
                   const QStringList& chosen)
{
    // Read the saved settings again: if `settings` could not copy them, its tree is empty.
    const auto stored = platform::ReadUserSettings();
    if (stored->status() != QSettings::NoError) {
        return;
    }
    const QByteArray id = HandlerEntryId(owner);
    const QString program = ProgramOf(*stored, owner);
    const QByteArrayList types = program.isEmpty() ? QByteArrayList() : RegisteredTypes(*stored, owner);

    const QByteArray entry = types.isEmpty() ? QByteArray() : HandlerEntry(owner.application, program, types);
    const bool hasNewEntry =
        UpdateEntry(platform::xdg::ApplicationsHome() + u'/' + QString::fromLatin1(id), entry);
    const QString commonList = platform::xdg::ConfigHome() + QLatin1String("/mimeapps.list");
    for (const QString& path : ListFiles()) {
        UpdateList(path, [&](MimeApps& list) {
            list.RemoveExcept(types, id);
            for (const QString& protocol : chosen) {
                const QByteArray type = TypeOf(protocol);
                if (types.contains(type) && (path == commonList || !list.Defaults(type).isEmpty())) {
                    list.SetDefault(type, id);
                }
            }
        });
    }
    for (const QString& protocol : chosen) {
        settings->Tree().setValue(ProjectedChoiceKey(protocol), QString::fromLatin1(id));
    }
    settings->Save();
    settings.reset(); // Unlocks the settings before the slow tool runs.
    if (hasNewEntry) {
        UpdateCache();
    }
}

} // namespace common::urlhandlers

#include "../urlhandlers.h"

#include "../protocolkeys.h"
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

#include <chrono>
#include <optional>

namespace common::urlhandlers
{

namespace
{

constexpr logger::Channel logChannel{"common.clicktocall"};

/// The tool runs in milliseconds; the desktop finds the default handler without its cache, too.
constexpr std::chrono::milliseconds cacheLimit{5000};

QString ConfigFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
}

QString EntriesFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::ApplicationsLocation);
}

/// The user's lists of defaults: that of the desktop comes before the common one, and an old place last.
QStringList ListFiles()
{
    QStringList files;
    const QString suffix = QStringLiteral("mimeapps.list");
    const QString desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP").toLower();
    for (const QString& desktop : desktops.split(u':', Qt::SkipEmptyParts)) {
        if (!desktop.contains(u'/')) {
            files += ConfigFolder() + u'/' + desktop + u'-' + suffix;
        }
    }
    files += ConfigFolder() + u'/' + suffix;
    files += EntriesFolder() + u'/' + suffix;
    return files;
}

/// Where the current choice was noted when it was carried over to the desktop. In this platform's tree only.
QString ProjectedChoiceKey(const QString& protocol)
{
    return protocolkeys::UserChoice(protocol) + QLatin1String("Entry");
}

/// The MIME type of a scheme; empty for what is none by RFC 3986.
QByteArray TypeOf(const QString& protocol)
{
    static const QRegularExpression scheme(QStringLiteral("\\A[A-Za-z][A-Za-z0-9+.-]*\\z"));
    return scheme.match(protocol).hasMatch() ? "x-scheme-handler/" + protocol.toLower().toLatin1()
                                             : QByteArray();
}

/// Nothing if the file is there but cannot be read: then it must not be written either.
std::optional<QByteArray> ReadFile(const QString& path)
{
    QFile file(path);
    if (file.open(QIODevice::ReadOnly)) {
        return file.readAll();
    }
    return file.exists() ? std::nullopt : std::optional(QByteArray());
}

bool WriteFile(const QString& path, const QByteArray& content)
{
    QDir().mkpath(QFileInfo(path).path());
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.commit();
}

/// Brings a file to `wanted`, where empty stands for no file; whether anything had to be done.
bool Update(const QString& path, const std::optional<QByteArray>& current, const QByteArray& wanted)
{
    if (current == wanted) {
        return false;
    }
    const bool done =
        current.has_value() &&
        (wanted.isEmpty() && !QFileInfo(path).isSymLink() ? QFile::remove(path) : WriteFile(path, wanted));
    if (!done) {
        LOG_MESSAGE(logger::Error) << "Can't write " << path;
    }
    return done;
}

/// By the rules for ids of desktop entries a "-" may stand for a folder.
bool IsInstalled(QString id)
{
    while (QStandardPaths::locate(QStandardPaths::ApplicationsLocation, id).isEmpty()) {
        const qsizetype dash = id.indexOf(u'-');
        if (dash < 0) {
            return false;
        }
        id[dash] = u'/';
    }
    return true;
}

/// Id of the desktop entry that the user's lists prefer; empty without one.
QString PreferredEntry(const QByteArray& type)
{
    QString first;
    for (const QString& path : ListFiles()) {
        const MimeApps list(ReadFile(path).value_or(QByteArray()));
        for (const QByteArray& bytes : list.Defaults(type)) {
            QString id = QString::fromUtf8(bytes);
            if (IsInstalled(id)) {
                return id;
            }
            first = first.isEmpty() ? id : first;
        }
    }
    return first; // What the user chose counts, also where it has gone.
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
    process.start(tool, {QStringLiteral("--quiet"), EntriesFolder()});
    if (!process.waitForFinished(static_cast<int>(cacheLimit.count()))) {
        process.kill();
        process.waitForFinished();
    }
}

/// The program that the application was last registered for. Its schemes may have been written by different
/// ones.
QString ProgramOf(const QSettings& settings, const QString& application, const QString& organization)
{
    const QString key =
        protocolkeys::Application(application, organization) + QLatin1String("shell/open/command/Default");
    const QString command = settings.value(key).toString();
    const QString tail = protocolkeys::CommandTail();
    return command.startsWith(u'"') && command.endsWith(tail)
               ? command.mid(1, command.size() - tail.size() - 1)
               : QString();
}

} // namespace

QString UserChoice(const QSettings& settings, const QString& protocol, const QString& application,
                   const QString& organization)
{
    QString stored = settings.value(protocolkeys::UserChoice(protocol)).toString();
    const QByteArray type = TypeOf(protocol);
    const QString entry = type.isEmpty() ? QString() : PreferredEntry(type);
    if (entry.isEmpty() || entry == settings.value(ProjectedChoiceKey(protocol)).toString()) {
        return stored;
    }
    // Chosen in the desktop's own settings.
    return entry.toUtf8() == HandlerEntryId(application, organization)
               ? protocolkeys::ProgId(protocol, application, organization)
               : u'/' + entry; // No name of a program begins like this.
}

void NotifyChanged(QSettings& settings, const QString& application, const QString& organization,
                   const QStringList& chosen)
{
    const QByteArray id = HandlerEntryId(application, organization);
    const QString program = ProgramOf(settings, application, organization);
    settings.beginGroup(protocolkeys::Capabilities(application, organization));
    const QStringList protocols = program.isEmpty() ? QStringList() : settings.childKeys();
    settings.endGroup();
    QByteArrayList types;
    for (const QString& protocol : protocols) {
        if (!TypeOf(protocol).isEmpty()) {
            types += TypeOf(protocol);
        }
    }

    const QString entryPath = EntriesFolder() + u'/' + QString::fromLatin1(id);
    const QByteArray entry = types.isEmpty() ? QByteArray() : HandlerEntry(application, program, types);
    if (Update(entryPath, ReadFile(entryPath), entry)) {
        UpdateCache();
    }
    const QString commonList = ConfigFolder() + QLatin1String("/mimeapps.list");
    for (const QString& path : ListFiles()) {
        const std::optional<QByteArray> current = ReadFile(path);
        MimeApps list(current.value_or(QByteArray()));
        list.RemoveExcept(types, id);
        for (const QString& protocol : chosen) {
            const QByteArray type = TypeOf(protocol);
            if (types.contains(type) && (path == commonList || !list.Defaults(type).isEmpty())) {
                list.SetDefault(type, id);
            }
        }
        Update(path, current, list.Text());
    }
    for (const QString& protocol : chosen) {
        settings.setValue(ProjectedChoiceKey(protocol), QString::fromLatin1(id));
    }
    settings.sync();
}

} // namespace common::urlhandlers

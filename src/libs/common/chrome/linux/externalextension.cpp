#include "../externalextension.h"

#include <common/logger/logger.h>

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSaveFile>
#include <QStandardPaths>

namespace common::chrome::externalextension
{

namespace
{

constexpr logger::Channel logChannel{"common.pluginutils"};

const QString updateUrlName = QStringLiteral("external_update_url");

QString ConfigFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
}

QString ExtensionsFolder()
{
    return ConfigFolder() + QLatin1String("/chromium/External Extensions");
}

/// Whether `id` is one of the browser's: the first 128 bits of a hash in the letters a to p. So it is safe as
/// a file name, too.
bool IsExtensionId(const QString& id)
{
    static const QRegularExpression pattern(QStringLiteral("\\A[a-p]{32}\\z"));
    return pattern.match(id).hasMatch();
}

QString FilePath(const QString& id)
{
    return ExtensionsFolder() + u'/' + id + QLatin1String(".json");
}

} // namespace

void Publish(const QString& id, const QString& updateUrl)
{
    if (!IsExtensionId(id)) {
        return;
    }
    const QByteArray text = QJsonDocument(QJsonObject{{updateUrlName, updateUrl}}).toJson();
    QDir().mkpath(ExtensionsFolder());
    QSaveFile file(FilePath(id));
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.commit()) {
        LOG_MESSAGE(logger::Error) << "Can't write " << FilePath(id);
    }
}

void Withdraw(const QString& id, const QString& updateUrl)
{
    if (!IsExtensionId(id)) {
        return;
    }
    QFile file(FilePath(id));
    if (!file.open(QIODevice::ReadOnly) ||
        QJsonDocument::fromJson(file.readAll()).object().value(updateUrlName).toString() != updateUrl) {
        return;
    }
    file.close();
    if (!file.remove()) {
        LOG_MESSAGE(logger::Error) << "Can't remove " << FilePath(id);
    }
    // Folders that were made for this file only; rmdir removes no others.
    QDir().rmdir(ExtensionsFolder());
    QDir().rmdir(ConfigFolder() + QLatin1String("/chromium"));
}

} // namespace common::chrome::externalextension

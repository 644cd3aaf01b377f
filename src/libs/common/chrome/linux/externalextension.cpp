#include "../externalextension.h"

#include "../../platform/linux/readfile.h"
#include "../../platform/linux/xdg.h"
#include "../../platform/savefile.h"

#include <common/logger/logger.h>

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

namespace common::chrome::externalextension
{

namespace
{

constexpr logger::Channel logChannel{"common.pluginutils"};

const QString updateUrlName = QStringLiteral("external_update_url");

QString BrowserDirectory()
{
    return platform::xdg::ConfigHome() + QLatin1String("/chromium");
}

QString ExtensionsDirectory()
{
    return BrowserDirectory() + QLatin1String("/External Extensions");
}

/// Returns whether `id` is an extension id (128 bits of a hash in the letters a to p): a safe file name.
bool IsExtensionId(const QString& id)
{
    static const QRegularExpression pattern(QStringLiteral("\\A[a-p]{32}\\z"));
    return pattern.match(id).hasMatch();
}

QString FilePath(const QString& id)
{
    return ExtensionsDirectory() + u'/' + id + QLatin1String(".json");
}

} // namespace

void Publish(const QString& id, const QString& updateUrl)
{
    if (!IsExtensionId(id)) {
        return;
    }
    const QByteArray text = QJsonDocument(QJsonObject{{updateUrlName, updateUrl}}).toJson();
    QDir().mkpath(ExtensionsDirectory());
    if (platform::SaveFile(FilePath(id), text) != platform::SaveOutcome::Saved) {
        LOG_MESSAGE(logger::Error) << "Can't write " << FilePath(id);
    }
}

void Withdraw(const QString& id, const QString& updateUrl)
{
    if (!IsExtensionId(id)) {
        return;
    }
    const QByteArray text = platform::ReadFile(FilePath(id)).value_or(QByteArray());
    if (QJsonDocument::fromJson(text).object().value(updateUrlName).toString() != updateUrl) {
        return;
    }
    if (!QFile::remove(FilePath(id))) {
        LOG_MESSAGE(logger::Error) << "Can't remove " << FilePath(id);
    }
    // Remove the directories if this leaves them empty; otherwise rmdir fails.
    QDir().rmdir(ExtensionsDirectory());
    QDir().rmdir(BrowserDirectory());
}

} // namespace common::chrome::externalextension

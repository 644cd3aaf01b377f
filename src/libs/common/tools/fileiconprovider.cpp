#include <common/tools/fileiconprovider.h>

#include <QDir>
#include <QPixmap>
#include <QTemporaryFile>

namespace tools
{

namespace
{

/// Returns a copy made of pixmaps. The original may query the system again when its file no longer exists.
QIcon CopyOf(const QIcon& icon)
{
    QIcon copy;
    const QList<QSize> sizes = icon.availableSizes(QIcon::Normal, QIcon::Off);
    for (const QSize& size : sizes) {
        // Ignore the screen's device pixel ratio.
        copy.addPixmap(icon.pixmap(size, 1.0, QIcon::Normal, QIcon::Off), QIcon::Normal, QIcon::Off);
    }
    return copy;
}

} // namespace

QMap<QString, QIcon> FileIconProvider::iconCache_;

FileIconProvider::FileIconProvider() = default;

FileIconProvider::~FileIconProvider() = default;

QIcon FileIconProvider::icon(const QFileInfo& info) const
{
    const QString suffix = info.suffix();
    const auto cached = iconCache_.constFind(suffix);
    if (cached != iconCache_.constEnd()) {
        return *cached;
    }
    QTemporaryFile sample(QDir::tempPath() + QDir::separator() + QStringLiteral("XXXXXX") + u'.' + suffix);
    const QFileInfo sampleInfo = sample.open() ? QFileInfo(sample) : QFileInfo();
    QIcon icon = CopyOf(QFileIconProvider::icon(sampleInfo));
    if (icon.isNull()) {
        return QFileIconProvider::icon(QAbstractFileIconProvider::File);
    }
    iconCache_.insert(suffix, icon);
    return icon;
}

} // namespace tools

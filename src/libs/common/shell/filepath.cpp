#include "filepath.h"

#include <QDir>
#include <QFileInfo>

namespace common
{

QString SearchedPath(const QString& path)
{
    const qsizetype colon = path.indexOf(u':');
    if (colon < 2 || path.startsWith(u'/')) { // A single letter is a drive.
        return SystemPath(path);
    }
    const QStringList places = QDir::searchPaths(path.left(colon));
    if (places.isEmpty()) {
        return SystemPath(path);
    }
    const QFileInfo info(path);
    return SystemPath(info.exists() ? info.filePath() : places.first() + u'/' + path.mid(colon + 1));
}

QString JoinPath(const QString& root, const QString& relativePath)
{
    return root.isEmpty() ? root : root + QDir::separator() + QDir::toNativeSeparators(relativePath);
}

} // namespace common

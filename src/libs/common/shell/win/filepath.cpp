#include "../filepath.h"

#include <QDir>
#include <QFileInfo>

namespace common
{

QString ReadLink(const QString& path)
{
    const QFileInfo info(path);
    return info.isJunction() ? info.junctionTarget() : info.symLinkTarget();
}

// Windows itself resolves ".." in the string.
QString ResolvedPath(const QString& path)
{
    return path.isEmpty() ? path : QFileInfo(SearchedPath(path)).absoluteFilePath();
}

} // namespace common

#include "../filepath.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <filesystem>

namespace common
{

QString ReadLink(const QString& path)
{
    std::error_code error;
    const auto target = std::filesystem::read_symlink(QFile::encodeName(path).toStdString(), error);
    const QString text = QFile::decodeName(target.c_str());
    return error || target.is_absolute() ? text : QFileInfo(path).path() + u'/' + text;
}

QString SystemPath(const QString& path)
{
    return path;
}

QString ResolvedPath(const QString& path)
{
    QString absolute = SearchedPath(path);
    // Qt regards resources as absolute. If the current directory was removed, the path stays relative.
    if (!absolute.isEmpty() && !QDir::isAbsolutePath(absolute)) {
        const QString current = QDir::currentPath();
        absolute = current.isEmpty() ? absolute : current + u'/' + absolute;
    }
    const QString folder = absolute + u'/';
    const qsizetype dots = folder.lastIndexOf(QLatin1String("/../"));
    const QString above =
        dots < 0 ? QString() : QFileInfo(folder.left(dots) + QLatin1String("/..")).canonicalFilePath();
    return QDir::cleanPath(above.isEmpty() ? absolute : above + folder.mid(dots + 3));
}

} // namespace common

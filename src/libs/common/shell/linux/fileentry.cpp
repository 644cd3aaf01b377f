#include "../fileentry.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <filesystem>

#include <sys/stat.h>
#include <unistd.h>

namespace common
{

namespace
{

std::optional<FileId> ToId(int result, const struct stat& status)
{
    return result == 0 ? std::optional(FileId{status.st_dev, status.st_ino, status.st_nlink}) : std::nullopt;
}

} // namespace

std::optional<FileId> GetFileId(const QString& path)
{
    struct stat status = {};
    const int result = ::lstat(QFile::encodeName(path).constData(), &status);
    return ToId(result, status);
}

std::optional<FileId> GetTargetId(const QString& path)
{
    struct stat status = {};
    const int result = ::stat(QFile::encodeName(path).constData(), &status);
    return ToId(result, status);
}

QString ReadLink(const QString& path)
{
    std::error_code error;
    const auto target = std::filesystem::read_symlink(QFile::encodeName(path).toStdString(), error);
    const QString text = QFile::decodeName(target.c_str());
    return error || target.is_absolute() ? text : QFileInfo(path).path() + u'/' + text;
}

QString ResolvedPath(const QString& path)
{
    QString absolute = path;
    if (!path.isEmpty() && !path.startsWith(u'/')) {
        // Resources and search paths are absolute to Qt.
        absolute =
            QDir::isAbsolutePath(path) ? QFileInfo(path).filePath() : QDir::currentPath() + u'/' + path;
    }
    const QString folder = absolute + u'/';
    const qsizetype dots = folder.lastIndexOf(QLatin1String("/../"));
    const QString above =
        dots < 0 ? QString() : QFileInfo(folder.left(dots) + QLatin1String("/..")).canonicalFilePath();
    return QDir::cleanPath(above.isEmpty() ? absolute : above + folder.mid(dots + 3));
}

bool Unlink(const QString& path)
{
    const QByteArray name = QFile::encodeName(path);
    return !name.contains('\0') && ::unlink(name.constData()) == 0;
}

// All links are alike to unlink.
bool IsLinkOfDirectoryKind(const QString& /*path*/)
{
    return false;
}

} // namespace common

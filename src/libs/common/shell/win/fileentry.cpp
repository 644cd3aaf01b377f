#include "../fileentry.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <string>
#include <windows.h>

namespace common
{

namespace
{

/// The absolute path in the form that knows no limit of 260 characters.
std::wstring NativePath(const QString& path)
{
    const QString native = QDir::toNativeSeparators(QFileInfo(path).absoluteFilePath());
    if (native.startsWith(QLatin1String("\\\\?\\"))) {
        return native.toStdWString();
    }
    if (native.startsWith(QLatin1String("\\\\"))) {
        return (QLatin1String("\\\\?\\UNC\\") + native.mid(2)).toStdWString();
    }
    return (QLatin1String("\\\\?\\") + native).toStdWString();
}

std::optional<FileId> GetId(const QString& path, DWORD flags)
{
    const HANDLE file =
        ::CreateFileW(NativePath(path).c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                      nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | flags, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return std::nullopt;
    }
    BY_HANDLE_FILE_INFORMATION information = {};
    const bool known = ::GetFileInformationByHandle(file, &information) != 0;
    ::CloseHandle(file);
    constexpr int highShift = 32;
    const quint64 index = (quint64{information.nFileIndexHigh} << highShift) | information.nFileIndexLow;
    // Some network drives give every file the index 0.
    if (!known || index == 0) {
        return std::nullopt;
    }
    return FileId{information.dwVolumeSerialNumber, index, information.nNumberOfLinks};
}

} // namespace

std::optional<FileId> GetFileId(const QString& path)
{
    return GetId(path, FILE_FLAG_OPEN_REPARSE_POINT);
}

std::optional<FileId> GetTargetId(const QString& path)
{
    return GetId(path, 0);
}

QString ReadLink(const QString& path)
{
    const QFileInfo info(path);
    return info.isJunction() ? info.junctionTarget() : info.symLinkTarget();
}

// The system itself takes ".." away from the text.
QString ResolvedPath(const QString& path)
{
    return QFileInfo(path).absoluteFilePath();
}

// The call is all that it costs here.
bool Unlink(const QString& path)
{
    return QFile::remove(path);
}

bool IsLinkOfDirectoryKind(const QString& path)
{
    constexpr DWORD directoryLink = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    const DWORD attributes = ::GetFileAttributesW(NativePath(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & directoryLink) == directoryLink;
}

} // namespace common

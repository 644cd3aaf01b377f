#include "../filepath.h"

#include <QDir>
#include <QFileInfo>

#include <string>

#include <windows.h>

namespace common
{

QString ReadLink(const QString& path)
{
    const QFileInfo info(path);
    return info.isJunction() ? info.junctionTarget() : info.symLinkTarget();
}

QString SystemPath(const QString& path)
{
    if (path.isEmpty() || path.startsWith(u':')) {
        return path; // A resource.
    }
    const std::wstring given = QDir::toNativeSeparators(path).toStdWString();
    std::wstring full(::GetFullPathNameW(given.c_str(), 0, nullptr, nullptr), L'\0');
    full.resize(::GetFullPathNameW(given.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
    const bool isDevice = full.compare(0, 4, LR"(\\.\)") == 0; // For example "aux" before Windows 11.
    return full.empty() || isDevice ? path : QDir::fromNativeSeparators(QString::fromStdWString(full));
}

// Windows resolves ".." lexically.
QString ResolvedPath(const QString& path)
{
    return path.isEmpty() ? path : QFileInfo(SearchedPath(path)).absoluteFilePath();
}

} // namespace common

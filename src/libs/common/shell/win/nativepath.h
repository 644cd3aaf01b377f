#pragma once

#include "../fileid.h"

#include <QDir>
#include <QFileInfo>

#include <string>
#include <windows.h>

namespace common
{

/// Returns the absolute path in the form that is not limited to 260 characters.
inline std::wstring NativePath(const QString& path)
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

inline FileId IdOf(const BY_HANDLE_FILE_INFORMATION& information)
{
    constexpr int highShift = 32;
    return {information.dwVolumeSerialNumber,
            (quint64{information.nFileIndexHigh} << highShift) | information.nFileIndexLow,
            information.nNumberOfLinks};
}

} // namespace common

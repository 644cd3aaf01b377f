#pragma once

#include <QString>

#include <array>

#include <qt_windows.h>

namespace common::platform
{

/// Returns the native path of a file in the system directory, where no other program can plant a file of that
/// name.
inline QString InSystemDirectory(const QString& name)
{
    std::array<wchar_t, MAX_PATH> path{};
    const UINT length = GetSystemDirectoryW(path.data(), MAX_PATH);
    return QString::fromWCharArray(path.data(), static_cast<qsizetype>(length)) + u'\\' + name;
}

} // namespace common::platform

#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace common::platform
{

/**
 * Reads a whole file. Also reads files of /proc and /sys, which report no size.
 *
 * @return nothing, with the reason in `errno`, if any part of the file cannot be read
 */
std::optional<QByteArray> ReadFile(const QString& path);

/// Like ReadFile, but returns an empty array if the file is missing.
std::optional<QByteArray> ReadFileIfAny(const QString& path);

} // namespace common::platform

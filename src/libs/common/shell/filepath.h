#pragma once

#include <QString>

namespace common
{

/// Returns `path` as the system interprets it. On Windows, the system and Qt ignore periods and spaces at the
/// end of a name.
QString SystemPath(const QString& path);

/// Like SystemPath, but replaces a registered search prefix ("icons" in "icons:a") with the first of its
/// directories that contains the entry. If none does, uses the first directory.
QString SearchedPath(const QString& path);

/**
 * Returns the absolute path of the entry that the system finds at `path`. On Linux, "link/.." is the parent
 * of the link's target, while QFileInfo and QDir remove both components. An empty path stays empty.
 */
QString ResolvedPath(const QString& path);

/// Returns the path of an entry below `root`, which is inserted verbatim; empty if `root` is empty.
QString JoinPath(const QString& root, const QString& relativePath);

/// Returns the direct target of the link `path`; empty if it is not a link.
QString ReadLink(const QString& path);

} // namespace common

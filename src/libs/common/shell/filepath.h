#pragma once

#include <QString>

namespace common
{

/// Returns `path` as the system reads it: Windows drops periods and spaces at the end of a name. Qt's
/// functions do so, too.
QString SystemPath(const QString& path);

/// Returns the system's path of `path`, with a registered search path ("icons:a") replaced by the directory
/// that has the entry, or by the first one if none has.
QString SearchedPath(const QString& path);

/**
 * Returns the absolute path of what `path` names to the system. On Linux "link/.." is the directory above
 * what the link leads to, while QFileInfo and QDir cut both words off. An empty path names nothing and stays
 * empty.
 */
QString ResolvedPath(const QString& path);

/// Returns the path of an entry below a root, which stays as given. Empty if the root is empty.
QString JoinPath(const QString& root, const QString& relativePath);

/// Returns where the link `path` leads, one step. Empty if it is not a link.
QString ReadLink(const QString& path);

} // namespace common

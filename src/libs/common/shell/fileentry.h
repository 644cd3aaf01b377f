#pragma once

#include <QString>

#include <optional>

class QFileInfo;

namespace common
{

/// What the file system knows a file by, whatever path leads to it.
struct FileId
{
    quint64 volume;
    quint64 file;
    quint64 nameCount; ///< How many names (hard links) the file has.
};

/// Whether both are one file, under whatever names.
inline bool operator==(const FileId& first, const FileId& second)
{
    return first.volume == second.volume && first.file == second.file;
}

/// The file, directory or link that `path` names; a link is not followed. Empty if there is none.
std::optional<FileId> GetFileId(const QString& path);

/// What `path` leads to, through links. Empty if that does not exist.
std::optional<FileId> GetTargetId(const QString& path);

/// Where the link `path` leads, one step. Empty if it is no link.
QString ReadLink(const QString& path);

/**
 * The absolute path of what the system takes `path` for. On Linux "link/.." is the folder above what the link
 * leads to, while QFileInfo and QDir cut both words off. An empty path names nothing and stays empty.
 */
QString ResolvedPath(const QString& path);

/// Path of an entry below a root that is used as it was given; empty if the root is, which names no folder.
QString JoinPath(const QString& root, const QString& relativePath);

/// Whether `entry` stands for something elsewhere: a symbolic link, a shortcut or an NTFS junction. What it
/// leads to is not part of a tree.
bool IsLink(const QFileInfo& entry);

/// Whether something stands under the name of `entry`, if only a link to nothing.
bool IsThere(const QFileInfo& entry);

/// Removes the file or link `path`, as QFile::remove does but at less cost.
bool Unlink(const QString& path);

/// Whether `path` is a link that the system removes like an empty directory and not like a file.
bool IsLinkOfDirectoryKind(const QString& path);

/**
 * Whether the removal of `destination` would take the content of `source` away: both name one directory
 * entry, or `source` is a link that leads to `destination`. Two hard links of one file do not.
 */
bool LeadsTo(const QString& source, const QString& destination);

} // namespace common

#pragma once

#include <QString>

#include <optional>

class QFileInfo;

namespace common
{

/// Identity of a file within the system, whatever path leads to it.
struct FileId
{
    quint64 volume;
    quint64 file;
    quint64 nameCount; ///< Number of names (hard links) of the file.
};

/// Whether both are one file, under whatever names.
inline bool operator==(const FileId& first, const FileId& second)
{
    return first.volume == second.volume && first.file == second.file;
}

/// Returns the identity of the file, directory or link at `path`. A link is not followed. Empty if there is
/// none.
std::optional<FileId> GetFileId(const QString& path);

/// Returns the identity of what `path` leads to, through links. Empty if that does not exist.
std::optional<FileId> GetTargetId(const QString& path);

/// Returns whether `entry` stands for something elsewhere: a symbolic link, a shortcut or an NTFS junction.
/// What it leads to is not part of a tree.
bool IsLink(const QFileInfo& entry);

/// Returns whether something exists under the name of `entry`, even a link to nothing.
bool IsThere(const QFileInfo& entry);

/// Returns whether `path` leads to a fifo, a socket or a device. Reading one may never end.
bool IsSpecial(const QString& path);

/**
 * Returns whether the removal of `destination` would take the content of `source` away: both name one
 * directory entry, or `source` is a link that leads to `destination`. Two hard links of one file do not.
 */
bool LeadsTo(const QString& source, const QString& destination);

} // namespace common

#pragma once

#include <QString>

#include <optional>

class QFileInfo;

namespace common
{

/// Identity of a file on this machine, independent of its path.
struct FileId
{
    quint64 volume;
    quint64 file;
    quint64 nameCount; ///< Number of names (hard links) of the file.
};

/// Returns whether both ids identify the same file.
inline bool operator==(const FileId& first, const FileId& second)
{
    return first.volume == second.volume && first.file == second.file;
}

/// Returns the identity of the file, directory or link at `path`, without following a link. Returns nothing
/// if the entry does not exist.
std::optional<FileId> GetFileId(const QString& path);

/// Returns the identity of the file or directory at `path`, following links; nothing if it does not exist.
std::optional<FileId> GetTargetId(const QString& path);

/// Returns whether `entry` is a symbolic link, a shortcut or an NTFS junction. A tree excludes the targets
/// of its links.
bool IsLink(const QFileInfo& entry);

/// Returns whether something exists under the name of `entry`, even a dangling link.
bool IsThere(const QFileInfo& entry);

/// Returns whether `path` leads to a fifo, a socket or a device. Reading from one may block forever.
bool IsSpecial(const QString& path);

/**
 * Returns whether removing `destination` would remove the content of `source`: both paths name one directory
 * entry, or `source` is a link that leads to `destination`. Returns false for two hard links to one file.
 */
bool LeadsTo(const QString& source, const QString& destination);

} // namespace common

#pragma once

#include <common/vxcommon_export.h>

#include <QDir>
#include <QFile>
#include <QString>

// The Windows headers define macros with these names. Without the macros, use the full names of the Windows
// functions, such as CopyFileW.
#undef CopyFile
#undef CreateDirectory
#undef RemoveDirectory

namespace common
{

/**
 * File system operations that are retried on failure: a virus scanner, an indexer or an exiting process often
 * blocks a file only briefly.
 *
 * Each operation makes up to five attempts, 50 ms apart, and returns whether one of them succeeded. It logs a
 * warning on the channel "shell.filecmd" for each failed attempt, whatever the reason. A persistent failure
 * takes 200 ms. The arguments keep the state in which the last attempt left them.
 *
 * @note Any thread may call the functions. They block the calling thread.
 */
class VXCOMMON_EXPORT FileCommands
{
public:
    FileCommands() = delete;

    /// Copies a file like QFile::copy. Fails if `newName` exists. Does not flush the copy to the disk.
    static bool CopyFile(QFile& file, const QString& newName);

    /// Creates a directory and its parents like QDir::mkpath. Succeeds if the directory already exists.
    static bool CreateDirectory(QDir& dir, const QString& path);

    /// Creates a symbolic link, or a shortcut on Windows, as QFile::link does. `target` need not exist.
    static bool CreateSymlink(const QString& target, const QString& linkName);

    /// Removes an empty directory like QDir::rmdir. A relative `path` is below `dir`.
    static bool RemoveDirectory(QDir& dir, const QString& path);

    /// Removes a file or a link like QFile::remove. The target of a link is kept.
    static bool RemoveFile(QFile& file);

    /// Renames a directory like QDir::rename. Relative names refer to entries of `dir`.
    static bool RenameDirectory(QDir& dir, const QString& oldName, const QString& newName);
};

} // namespace common

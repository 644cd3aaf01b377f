#pragma once

#include <common/vxcommon_export.h>

#include <QDir>
#include <QFile>
#include <QString>

// The Windows headers make macros of these names. Where they are included first, the macros go; the Windows
// functions are still there under their full names, such as CopyFileW.
#undef CopyFile
#undef CreateDirectory
#undef RemoveDirectory

namespace common
{

/**
 * File system primitives that are tried again when they fail, since what stands in the way of a file is often
 * gone a moment later: a virus scanner, an indexer, a process that is about to end.
 *
 * Each operation makes up to five attempts with 50 ms between two of them, writes one warning on the channel
 * "shell.filecmd" for each attempt that failed, and returns whether one succeeded. Why an attempt failed is
 * not looked at: a failure that cannot heal costs all five, 200 ms of sleep. Any thread may call, and the
 * calling thread is blocked meanwhile. The objects stay the caller's and are left as the last attempt left
 * them.
 */
class VXCOMMON_EXPORT FileCommands
{
public:
    FileCommands() = delete;

    /// QFile::copy: fails if `newName` exists. Does not wait until the bytes are on the disk.
    static bool CopyFile(QFile& file, const QString& newName);

    /// QDir::mkpath: missing parents are made, too, and a directory that exists is a success.
    static bool CreateDirectory(QDir& dir, const QString& path);

    /// QFile::link: makes `linkName` point to `target`, which need not exist. A shortcut on Windows.
    static bool CreateSymlink(const QString& target, const QString& linkName);

    /// QDir::rmdir: removes an empty directory. A relative `path` is one below `dir`.
    static bool RemoveDirectory(QDir& dir, const QString& path);

    /// QFile::remove: removes a file or a link, never what a link points to.
    static bool RemoveFile(QFile& file);

    /// QDir::rename: relative names are below `dir`.
    static bool RenameDirectory(QDir& dir, const QString& oldName, const QString& newName);
};

} // namespace common

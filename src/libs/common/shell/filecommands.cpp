#include <common/shell/filecommands.h>

#include "copyonce.h"
#include "retry.h"

namespace common
{

bool FileCommands::CopyFile(QFile& file, const QString& newName)
{
    return Retry(
        [&] { return CopyOnce(file, newName); },
        [&] { return QStringLiteral("Failed to copy file '%1' to '%2'").arg(file.fileName(), newName); });
}

bool FileCommands::CreateDirectory(QDir& dir, const QString& path)
{
    return Retry([&] { return dir.mkpath(path); },
                 [&] { return QStringLiteral("Failed to create directory '%1'").arg(path); });
}

bool FileCommands::CreateSymlink(const QString& target, const QString& linkName)
{
    // Kept for compatibility: the message names the link before the target, the reverse of the argument
    // order.
    return Retry([&] { return QFile::link(target, linkName); },
                 [&] { return QStringLiteral("Failed to create link '%1' --> '%2'").arg(linkName, target); });
}

bool FileCommands::RemoveDirectory(QDir& dir, const QString& path)
{
    return Retry([&] { return dir.rmdir(path); },
                 [&] { return QStringLiteral("Failed to remove directory '%1'").arg(path); });
}

bool FileCommands::RemoveFile(QFile& file)
{
    return Retry([&] { return file.remove(); },
                 [&] { return QStringLiteral("Failed to remove file '%1'").arg(file.fileName()); });
}

bool FileCommands::RenameDirectory(QDir& dir, const QString& oldName, const QString& newName)
{
    return Retry(
        [&] { return dir.rename(oldName, newName); },
        [&] { return QStringLiteral("Failed to rename directory '%1' to '%2'").arg(oldName, newName); });
}

} // namespace common

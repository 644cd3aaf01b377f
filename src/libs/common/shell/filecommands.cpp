#include <common/shell/filecommands.h>

#include <common/logger/logger.h>

#include "copyonce.h"

#include <QThread>

namespace common
{

namespace
{

constexpr logger::Channel logChannel{"shell.filecmd"};

/// More would make a failure that cannot heal too slow, less would give up on a scanner that is still at it.
constexpr int maxAttempts = 5;

/// A fifth of a second in all: long for a passing lock, short for a person.
constexpr unsigned long retryDelayMs = 50;

template<class Primitive>
bool Retry(const Primitive& primitive, const QString& failure)
{
    for (int attempt = 0; attempt < maxAttempts; ++attempt) {
        if (attempt > 0) {
            QThread::msleep(retryDelayMs);
        }
        if (primitive()) {
            return true;
        }
        LOG_MESSAGE(logger::Warn) << failure << ", attempt '" << attempt + 1 << "'";
    }
    return false;
}

} // namespace

bool FileCommands::CopyFile(QFile& file, const QString& newName)
{
    return Retry([&] { return CopyOnce(file, newName); },
                 QStringLiteral("Failed to copy file '%1' to '%2'").arg(file.fileName(), newName));
}

bool FileCommands::CreateDirectory(QDir& dir, const QString& path)
{
    return Retry([&] { return dir.mkpath(path); },
                 QStringLiteral("Failed to create directory '%1'").arg(path));
}

bool FileCommands::CreateSymlink(const QString& target, const QString& linkName)
{
    // The text names the link first, against the order of the arguments. That is meant.
    return Retry([&] { return QFile::link(target, linkName); },
                 QStringLiteral("Failed to create link '%1' --> '%2'").arg(linkName, target));
}

bool FileCommands::RemoveDirectory(QDir& dir, const QString& path)
{
    return Retry([&] { return dir.rmdir(path); },
                 QStringLiteral("Failed to remove directory '%1'").arg(path));
}

bool FileCommands::RemoveFile(QFile& file)
{
    return Retry([&] { return file.remove(); },
                 QStringLiteral("Failed to remove file '%1'").arg(file.fileName()));
}

bool FileCommands::RenameDirectory(QDir& dir, const QString& oldName, const QString& newName)
{
    return Retry([&] { return dir.rename(oldName, newName); },
                 QStringLiteral("Failed to rename directory '%1' to '%2'").arg(oldName, newName));
}

} // namespace common

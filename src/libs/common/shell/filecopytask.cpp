#include "filecopytask.h"

#include <common/shell/filecommands.h>

#include "copyonce.h"
#include "directorylisting.h"
#include "fileentry.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>

namespace common
{

namespace
{

enum ErrorCode : int
{
    NoTask = 700101,
    NoSourceDirectory = 700102,
    NoSource = 700103,
    NoDestinationFolder = 700104,
    Aborted = 700105,
    DestinationStays = 700106,
    CopyFailed = 700107,
    NoThread = 700108
};

/// Reading from it may never end: a fifo, a socket or a device, also at the other end of a link.
bool IsEndless(const QString& path)
{
    const QFileInfo info(path);
    return info.exists() && !info.isFile() && !info.isDir();
}

QString LinkTarget(const QFileInfo& link)
{
    return link.isJunction() ? link.junctionTarget() : link.symLinkTarget();
}

} // namespace

const FileTaskTraits FileCopyTask::copyTraits{
    {"shell.filecopy"},
    "Copy",
    NoTask,
    "Failed to create copy task!",
    NoThread,
    Aborted,
    "Copying failed with error '%1'!",
    "Copying finished in %1 msec.",
    "Waiting for the completion of the copier thread...",
};

FileCopyTask::FileCopyTask(const QList<PathPair>& files_, const QList<PathPair>& symlinks_,
                           const QList<PathPair>& directories_)
    : FileTask(copyTraits)
    , files(files_)
    , symlinks(symlinks_)
    , directories(directories_)
{}

FileCopyTask::~FileCopyTask()
{
    Abort(true);
}

int FileCopyTask::Scan()
{
    LOG_MESSAGE(logger::Debug) << "Start scanning directories...";
    for (const auto& [sourceRoot, destinationRoot] : directories) {
        if (IsAborted()) {
            return Aborted;
        }
        const int code = ScanPath(sourceRoot, destinationRoot);
        if (code != 0) {
            LOG_MESSAGE(logger::Error) << QStringLiteral("Scanning directory '%1' failed with error '%2'!")
                                              .arg(sourceRoot, QString::number(code));
            return code;
        }
    }
    LOG_MESSAGE(logger::Debug) << "Directories scanning finished.";
    return 0;
}

int FileCopyTask::ScanPath(const QString& sourceRoot, const QString& destinationRoot)
{
    const auto visit = [&](const ListedEntry& entry, const QString& relativePath) {
        if (entry.isDirectory && !entry.isLink) {
            return true;
        }
        if (entry.isLink) {
            LOG_MESSAGE(logger::Debug) << "Found symlink: '" << relativePath << "'.";
        }
        QList<PathPair>& items = entry.isLink ? symlinks : files;
        items.append({JoinPath(sourceRoot, relativePath), JoinPath(destinationRoot, relativePath)});
        return false;
    };
    return WalkTree(sourceRoot, NoSourceDirectory, visit);
}

int FileCopyTask::WorkAll()
{
    const QList<PathPair> items = files + symlinks;
    const int total = static_cast<int>(items.size());
    // A pair that was added both as file and as link is a file both times. That is meant.
    const QSet<PathPair> filePairs =
        symlinks.isEmpty() ? QSet<PathPair>() : QSet<PathPair>(files.cbegin(), files.cend());

    int current = 0;
    for (const PathPair& item : items) {
        if (IsAborted()) {
            return Aborted;
        }
        const auto& [source, destination] = item;
        const bool isFile = current < files.size() || filePairs.contains(item);
        const int code = isFile ? CopyFile(source, destination) : CopySymlink(source, destination);
        if (code != 0) {
            LOG_MESSAGE(logger::Error) << QStringLiteral("Copying from '%1' to '%2' failed with error '%3'!")
                                              .arg(source, destination, QString::number(code));
            return code;
        }
        reports->Progress(++current, total);
    }
    return 0;
}

int FileCopyTask::CopyFile(const QString& source, const QString& destination) const
{
    // Where nothing is in the way, all that is looked at below would be for nothing. It takes half of the
    // time.
    bool copied = CopyQuickly(source, destination);
    if (!copied && !IsEndless(source)) {
        const int code = BeforeCopy(source, destination);
        if (code != 0) {
            return code;
        }
        QFile file(source);
        copied = FileCommands::CopyFile(file, destination);
    }
    if (!copied) {
        LOG_MESSAGE(logger::Error)
            << QStringLiteral("Cannot copy from '%1' to '%2'").arg(source, destination);
        return CopyFailed;
    }
    LOG_MESSAGE(logger::Debug)
        << QStringLiteral("Successfully copied from '%1' to '%2'").arg(source, destination);
    return 0;
}

int FileCopyTask::CopySymlink(const QString& source, const QString& destination) const
{
    const int code = BeforeCopy(source, destination);
    if (code != 0) {
        return code;
    }
    // Qt gets the target of a link to a directory wrong behind a relative path and behind "link/..".
    const QFileInfo sourceInfo(source);
    const QFileInfo link(ResolvedPath(sourceInfo.path()) + u'/' + sourceInfo.fileName());
    const QString target = QDir(link.absolutePath()).relativeFilePath(LinkTarget(link));
    if (!FileCommands::CreateSymlink(target, destination)) {
        LOG_MESSAGE(logger::Error)
            << QStringLiteral("Cannot copy link from '%1' to '%2' -> '%3'.").arg(source, destination, target);
        return CopyFailed;
    }
    LOG_MESSAGE(logger::Debug) << QStringLiteral("Successfully copied link from '%1' to '%2' -> '%3'.")
                                      .arg(source, destination, target);
    return 0;
}

int FileCopyTask::BeforeCopy(const QString& source, const QString& destination) const
{
    // A link whose target is gone can still be copied as a link.
    if (!IsThere(QFileInfo(source))) {
        LOG_MESSAGE(logger::Error) << QStringLiteral("Source file '%1' doesn't exist!").arg(source);
        return NoSource;
    }
    const QFileInfo destinationInfo(destination);
    const QString folder = ResolvedPath(destinationInfo.path());
    QDir dir(folder);
    if ((folder.isEmpty() || !dir.exists()) && !FileCommands::CreateDirectory(dir, folder)) {
        LOG_MESSAGE(logger::Error) << QStringLiteral("Cannot create path to '%1'").arg(destination);
        return NoDestinationFolder;
    }
    if (!IsThere(destinationInfo)) {
        return 0;
    }
    if ((IsLink(destinationInfo) || !destinationInfo.isDir()) && LeadsTo(source, destination)) {
        // Once the destination is removed, nothing would be left to copy.
        LOG_MESSAGE(logger::Error)
            << QStringLiteral("'%1' and '%2' are the same file").arg(source, destination);
        return CopyFailed;
    }
    LOG_MESSAGE(logger::Warn)
        << QStringLiteral("'%1' already exists. Trying to remove before coping...").arg(destination);
    QFile file(destination);
    if (!FileCommands::RemoveFile(file)) {
        LOG_MESSAGE(logger::Error) << QStringLiteral("Cannot remove '%1'!").arg(destination);
        return DestinationStays;
    }
    return 0;
}

} // namespace common

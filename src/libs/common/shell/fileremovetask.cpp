#include "fileremovetask.h"

#include <common/shell/filecommands.h>

#include "directorylisting.h"
#include "fileentry.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace common
{

namespace
{

enum ErrorCode : int
{
    NoTask = 700201,
    Aborted = 700202,
    DirectoryStays = 700203,
    FileStays = 700204,
    NoThread = 700205
};

} // namespace

const FileTaskTraits FileRemoveTask::removeTraits{
    {"shell.fileremove"},
    "Remove",
    NoTask,
    "Failed to create remove task!",
    NoThread,
    Aborted,
    "Removing failed with error '%1'!",
    "Removing finished in %1 msec.",
    "Waiting for the completion of the remover thread...",
};

FileRemoveTask::FileRemoveTask(const QStringList& files_, const QStringList& directories_)
    : FileTask(removeTraits)
    , files(files_)
    , directories(directories_)
{}

FileRemoveTask::~FileRemoveTask()
{
    Abort(true);
}

int FileRemoveTask::Scan()
{
    LOG_MESSAGE(logger::Debug) << "Start scanning directories...";
    QStringList foundDirectories;
    for (const QString& root : std::as_const(directories)) {
        if (IsAborted()) {
            return Aborted;
        }
        const int code = ScanPath(root, foundDirectories);
        if (code != 0) {
            LOG_MESSAGE(logger::Error) << QStringLiteral("Scanning directory '%1' failed with error '%2'!")
                                              .arg(root, QString::number(code));
            return code;
        }
    }
    // Parents were found before their children. Backwards it is the other way round, and the roots come last.
    std::reverse(foundDirectories.begin(), foundDirectories.end());
    directories = foundDirectories + directories;
    LOG_MESSAGE(logger::Debug) << "Directories scanning finished.";
    return 0;
}

int FileRemoveTask::ScanPath(const QString& root, QStringList& foundDirectories)
{
    const auto visit = [&](const ListedEntry& entry, const QString& relativePath) {
        const bool isDirectory = entry.isDirectory && !entry.isLink;
        if (isDirectory) {
            LOG_MESSAGE(logger::Debug) << "Found directory: '" << relativePath << "'.";
        }
        QStringList& items = isDirectory ? foundDirectories : files;
        items.append(JoinPath(root, relativePath));
        return isDirectory;
    };
    // A directory that is not there is nothing to remove.
    return WalkTree(root, 0, visit);
}

int FileRemoveTask::WorkAll()
{
    int current = 0;
    const int code = RemoveEach(files, &FileRemoveTask::RemoveFile,
                                QStringLiteral("Removing file '%1' failed with error '%2'!"), current);
    if (code != 0) {
        return code;
    }
    return RemoveEach(directories, &FileRemoveTask::RemoveDirectory,
                      QStringLiteral("Removing directory '%1' failed with error '%2'!"), current);
}

int FileRemoveTask::RemoveEach(const QStringList& paths, Step remove, const QString& failedText, int& current)
{
    const int total = static_cast<int>(files.size() + directories.size());
    for (const QString& path : paths) {
        if (IsAborted()) {
            return Aborted;
        }
        const int code = (this->*remove)(path);
        if (code != 0) {
            LOG_MESSAGE(logger::Error) << failedText.arg(path, QString::number(code));
            return code;
        }
        reports->Progress(++current, total);
    }
    return 0;
}

// In both steps below a removal that works at once has answered whether there was anything to remove.

int FileRemoveTask::RemoveFile(const QString& path) const
{
    bool removed = Unlink(path);
    if (!removed) {
        if (!IsThere(QFileInfo(path))) {
            LOG_MESSAGE(logger::Warn) << QStringLiteral("File '%1' doesn't exist!").arg(path);
            return 0;
        }
        QFile file(path);
        QDir workingDir;
        removed = IsLinkOfDirectoryKind(path) ? FileCommands::RemoveDirectory(workingDir, path)
                                              : FileCommands::RemoveFile(file);
    }
    if (!removed) {
        LOG_MESSAGE(logger::Error) << QStringLiteral("Cannot remove file '%1'!").arg(path);
        return FileStays;
    }
    LOG_MESSAGE(logger::Debug) << QStringLiteral("Successfully removed file '%1'").arg(path);
    return 0;
}

int FileRemoveTask::RemoveDirectory(const QString& path) const
{
    // Not that directory itself: a relative path would be looked for below it.
    QDir workingDir;
    bool removed = workingDir.rmdir(path);
    if (!removed) {
        if (path.isEmpty() || !QDir(path).exists()) {
            LOG_MESSAGE(logger::Warn) << QStringLiteral("Directory '%1' doesn't exist!").arg(path);
            return 0;
        }
        removed = FileCommands::RemoveDirectory(workingDir, path);
    }
    if (!removed) {
        LOG_MESSAGE(logger::Error) << QStringLiteral("Cannot remove directory '%1'!").arg(path);
        return DirectoryStays;
    }
    LOG_MESSAGE(logger::Debug) << QStringLiteral("Successfully removed directory '%1'").arg(path);
    return 0;
}

} // namespace common

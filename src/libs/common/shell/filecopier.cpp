#include <common/shell/filecopier.h>

#include "filecopytask.h"

#include <QDir>

namespace common
{

namespace
{

std::pair<QString, QString> NativePaths(const QString& source, const QString& destination)
{
    return {QDir::toNativeSeparators(source), QDir::toNativeSeparators(destination)};
}

} // namespace

FileCopier::FileCopier() = default;

FileCopier::~FileCopier()
{
    DropTask(task, true);
}

bool FileCopier::Copy()
{
    return StartTask<FileCopyTask>(task, this, FileCopyTask::copyTraits, files, symlinks, directories);
}

void FileCopier::Abort(bool force)
{
    DropTask(task, force);
}

void FileCopier::AddSymlink(const QString& fileSourcePath, const QString& fileDestPath)
{
    symlinks.append(NativePaths(fileSourcePath, fileDestPath));
}

void FileCopier::AddFile(const QString& fileSourcePath, const QString& fileDestPath)
{
    files.append(NativePaths(fileSourcePath, fileDestPath));
}

void FileCopier::AddDirectory(const QString& dirSourcePath, const QString& dirDestPath)
{
    directories.append(NativePaths(dirSourcePath, dirDestPath));
}

} // namespace common

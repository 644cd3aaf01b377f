#include <common/shell/fileremover.h>

#include "fileremovetask.h"

#include <QDir>

namespace common
{

FileRemover::FileRemover() = default;

FileRemover::~FileRemover()
{
    DropTask(task, true);
}

bool FileRemover::Remove()
{
    return StartTask<FileRemoveTask>(task, this, FileRemoveTask::removeTraits, files, directories);
}

void FileRemover::Abort(bool force)
{
    DropTask(task, force);
}

void FileRemover::AddFile(const QString& filePath)
{
    files.append(QDir::toNativeSeparators(filePath));
}

void FileRemover::AddDirectory(const QString& dirPath)
{
    directories.append(QDir::toNativeSeparators(dirPath));
}

} // namespace common

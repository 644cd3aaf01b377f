#include <common/shell/fileremover.h>

#include "fileremovetask.h"

#include <QDir>

namespace common
{

FileRemover::FileRemover() = default;

FileRemover::~FileRemover()
{
    DestroyFileTask(task);
}

bool FileRemover::Remove()
{
    if (!ReplaceFileTask(task, this, FileRemoveTask::removeTraits, files, directories)) {
        return false;
    }
    task->Remove();
    return true;
}

void FileRemover::Abort(bool force)
{
    DropFileTask(task, this, force);
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

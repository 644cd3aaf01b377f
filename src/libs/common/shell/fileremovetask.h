#pragma once

#include "filetask.h"

#include <QStringList>

namespace common
{

/// One job of a FileRemover; see there.
class FileRemoveTask final : public FileTask
{
    Q_OBJECT

public:
    static const FileTaskTraits removeTraits;

    FileRemoveTask(const QStringList& files_, const QStringList& directories_);
    ~FileRemoveTask() override;

private:
    Q_DISABLE_COPY(FileRemoveTask)

    using Step = int (FileRemoveTask::*)(const QString& path) const;

    int Scan() override;
    int WorkAll() override;

    int ScanPath(const QString& root, QStringList& foundDirectories);
    int RemoveEach(const QStringList& paths, Step remove, const QString& failedText, int& current);
    int RemoveFile(const QString& path) const;
    int RemoveDirectory(const QString& path) const;

    QStringList files;
    QStringList directories;
};

} // namespace common

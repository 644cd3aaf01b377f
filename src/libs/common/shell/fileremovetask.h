#pragma once

#include "filetask.h"

#include <QStringList>

namespace common
{

/// Runs one job of a FileRemover.
class FileRemoveTask final : public FileTask
{
    Q_OBJECT

public:
    static const FileTaskTraits removeTraits;

    FileRemoveTask(const QStringList& files_, const QStringList& directories_);
    ~FileRemoveTask() override;

private:
    Q_DISABLE_COPY(FileRemoveTask)

    int Scan() override;
    int WorkAll() override;

    int ScanPath(int root);
    int RemoveFile(const Item& item);
    int RemoveDirectory(int directory);

    const QStringList givenFiles;
    const QStringList givenDirectories;
    std::vector<Item> files;
    std::vector<int> removals; ///< The directories in the order of their removal.
};

} // namespace common

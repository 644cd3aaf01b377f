#pragma once

#include "copyonce.h"
#include "filetask.h"

#include <QList>

#include <utility>

namespace common
{

/// Runs one job of a FileCopier.
class FileCopyTask final : public FileTask
{
    Q_OBJECT

public:
    using PathPair = std::pair<QString, QString>; ///< Source and destination.

    static const FileTaskTraits copyTraits;

    FileCopyTask(const QList<PathPair>& files_, const QList<PathPair>& symlinks_,
                 const QList<PathPair>& directories_);
    ~FileCopyTask() override;

private:
    Q_DISABLE_COPY(FileCopyTask)

    struct Paths; ///< Paths of an item, for display.

    int Scan() override;
    int WorkAll() override;

    int ScanPath(const QString& sourceRoot, const QString& destinationRoot);
    int CopyFile(const Item& item, const Paths& paths);
    int CopyInAttempts(const Item& item, const Paths& paths, CopyResult result, bool isInTheWay,
                       bool& copied);
    bool Copy(const Item& item, const std::function<bool()>& makeRoom);
    int CopySymlink(const Item& item, const Paths& paths);
    QString LinkTarget(const Item& item, const QString& source);
    int BeforeCopy(const Item& item, const Paths& paths, bool& isInTheWay);
    bool MakeFolder(const Item& item, const QString& destination);
    bool RemoveDestination(const Item& item, const Paths& paths);
    Paths PathsOf(const Item& item) const;
    FilePlace DestinationOf(const Item& item);

    const QList<PathPair> givenFiles;
    const QList<PathPair> givenSymlinks;
    const QList<PathPair> givenDirectories;
    std::vector<Item> files;
    std::vector<Item> symlinks;
};

} // namespace common

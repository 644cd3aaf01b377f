#pragma once

#include "filetask.h"

#include <QList>

#include <utility>

namespace common
{

/// One job of a FileCopier; see there.
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

    int Scan() override;
    int WorkAll() override;

    int ScanPath(const QString& sourceRoot, const QString& destinationRoot);
    int CopyFile(const QString& source, const QString& destination) const;
    int CopySymlink(const QString& source, const QString& destination) const;
    int BeforeCopy(const QString& source, const QString& destination) const;

    QList<PathPair> files;
    QList<PathPair> symlinks;
    const QList<PathPair> directories;
};

} // namespace common

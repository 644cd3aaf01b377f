#include "treeremoval.h"

#include "directoryreach.h"
#include "filepath.h"

#include <QDir>

namespace common
{

namespace
{

QFileInfoList EntriesOf(const OpenDirectory& directory)
{
    return QDir(directory.Path())
        .entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

bool RemoveEntry(const FilePlace& place)
{
    return RemoveFileOrLink(place) == Removal::Done ||
           (AllowRemoval(place) && RemoveFileOrLink(place) == Removal::Done);
}

} // namespace

bool RemoveTree(const QString& path)
{
    struct Level
    {
        int directory;
        QFileInfoList entries;
    };
    ScannedDirectories directories;
    DirectoryReach reach(directories, DirectoryReach::Side::Source);
    std::vector<Level> levels;
    const auto enter = [&](int parent, const QString& name) {
        const int directory = static_cast<int>(directories.size());
        directories.push_back({parent, name});
        const OpenDirectory& opened = reach.To(directory);
        if (!opened.IsOpen()) {
            return false;
        }
        directories.back().id = opened.Id();
        levels.push_back({directory, EntriesOf(opened)});
        return true;
    };
    bool allRemoved = enter(-1, path);
    while (!levels.empty()) {
        Level& level = levels.back();
        const int directory = level.directory;
        if (level.entries.isEmpty()) {
            const ScannedDirectory& empty = directories[static_cast<std::size_t>(directory)];
            levels.pop_back();
            reach.Close(directory);
            const FilePlace place = empty.parent < 0 ? FilePlace{nullptr, ResolvedPath(path)}
                                                     : FilePlace{&reach.To(empty.parent), empty.name};
            allRemoved = RemoveEmptyDirectory(place) == Removal::Done && allRemoved;
            continue;
        }
        const QFileInfo entry = level.entries.takeFirst();
        const bool removed = entry.isDir() && !IsLink(entry)
                                 ? enter(directory, entry.fileName())
                                 : RemoveEntry({&reach.To(directory), entry.fileName()});
        allRemoved = removed && allRemoved;
    }
    return allRemoved;
}

} // namespace common

#pragma once

#include "opendirectory.h"

#include <QString>

#include <list>
#include <optional>
#include <utility>
#include <vector>

namespace common
{

/// A directory of a tree that was scanned.
struct ScannedDirectory
{
    int parent;                    ///< Index of another one that comes before it; -1 for a root.
    QString name;                  ///< Of a root its path as it was given.
    QString destination = {};      ///< Of a root, where its content is to be copied.
    bool isLink = false;           ///< To be followed.
    std::optional<FileId> id = {}; ///< What the scan found under the name.
};

using ScannedDirectories = std::vector<ScannedDirectory>;

/**
 * Opens directories of scanned trees, or those that correspond to them at the destination, from their roots
 * downwards. No name on the way is followed if it is a link, and what the scan has not seen is not entered.
 * Few directories are open at a time, however deep the trees are.
 */
class DirectoryReach
{
public:
    enum class Side
    {
        Source,
        Destination ///< Directories that do not exist are made.
    };

    DirectoryReach(ScannedDirectories& directories_, Side side_)
        : directories(directories_)
        , side(side_)
    {}

    /// The directory, which may not be open; valid until the next call.
    const OpenDirectory& To(int directory);
    bool Has(int directory) const { return Find(directory) != nullptr; } ///< Whether it is open now.
    void Close(int directory);
    void CloseAll() { open.clear(); }

    /// Path to show, from the root as it was given; empty if that is.
    QString PathOf(int directory) const;
    /// Path of an entry to show.
    QString PathOf(int directory, const QString& name) const;
    /// Path of an entry relative to the root.
    QString RelativePathOf(int directory, const QString& name) const;

private:
    Q_DISABLE_COPY(DirectoryReach)

    const OpenDirectory* Find(int directory) const;
    /// Opens the parent of an open directory from there: one step, instead of the whole way from the root.
    const OpenDirectory* Climb(int directory);
    const OpenDirectory& Keep(int directory, OpenDirectory opened);
    OpenDirectory Open(const OpenDirectory* parent, int directory) const;
    OpenDirectory OpenRoot(const ScannedDirectory& root) const;

    ScannedDirectories& directories;
    const Side side;
    std::list<std::pair<int, OpenDirectory>> open; ///< The latest last.
    OpenDirectory failed;
    mutable std::pair<int, QString> lastPath{-1, {}};
};

} // namespace common

#pragma once

#include "opendirectory.h"

#include <QString>

#include <list>
#include <optional>
#include <utility>
#include <vector>

namespace common
{

/// A directory of a scanned tree.
struct ScannedDirectory
{
    int parent;                    ///< Index of the parent, which comes earlier in the list; -1 for a root.
    QString name;                  ///< For a root, its path as given.
    QString destination = {};      ///< For a root, the directory to copy its content to.
    bool isLink = false;           ///< Whether the name is a link to follow.
    std::optional<FileId> id = {}; ///< Identity of the directory that the scan found.
};

using ScannedDirectories = std::vector<ScannedDirectory>;

/**
 * Opens directories of scanned trees, or the corresponding ones at the destination, from their roots
 * downwards. Below a root, follows only links that are marked with `isLink`, and enters only directories
 * that the scan has found. Keeps few directories open, however deep the trees are.
 */
class DirectoryReach
{
public:
    enum class Side
    {
        Source,
        Destination ///< Missing directories are created.
    };

    DirectoryReach(ScannedDirectories& directories_, Side side_)
        : directories(directories_)
        , side(side_)
    {}

    /// Returns the directory, which may not be open; valid until the next call.
    const OpenDirectory& To(int directory);
    bool Has(int directory) const { return Find(directory) != nullptr; } ///< Whether the directory is open.
    void Close(int directory);
    void CloseAll() { open.clear(); }

    /// Returns a path for display, beginning with the root as given; empty if the root is empty.
    QString PathOf(int directory) const;
    /// Returns the path of an entry for display.
    QString PathOf(int directory, const QString& name) const;
    /// Returns the path of an entry relative to the root.
    QString RelativePathOf(int directory, const QString& name) const;

private:
    Q_DISABLE_COPY(DirectoryReach)

    const OpenDirectory* Find(int directory) const;
    /// Opens the parent of an open directory in one step, instead of descending again from the root.
    const OpenDirectory* Climb(int directory);
    const OpenDirectory& Keep(int directory, OpenDirectory opened);
    OpenDirectory Open(const OpenDirectory* parent, int directory) const;
    OpenDirectory OpenRoot(const ScannedDirectory& root) const;

    ScannedDirectories& directories;
    const Side side;
    std::list<std::pair<int, OpenDirectory>> open; ///< The most recently opened directory is last.
    OpenDirectory failed;
    mutable std::pair<int, QString> lastPath{-1, {}};
};

} // namespace common

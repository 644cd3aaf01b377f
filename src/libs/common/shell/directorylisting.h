#pragma once

#include "opendirectory.h"

#include <QString>

#include <optional>
#include <vector>

namespace common
{

struct ListedEntry
{
    QString name;
    bool isDirectory; ///< A directory or a link to one.
    bool isLink;
    bool isSpecial; ///< A fifo, a socket or a device.
};

/// Returns the entries of a directory except hidden ones, sorted by name without regard to case. Returns
/// nothing if the directory cannot be read completely.
std::optional<std::vector<ListedEntry>> ListDirectory(const OpenDirectory& directory);

/// Lists a directory through QDir, for directories that only Qt can read.
std::vector<ListedEntry> ListByQt(const OpenDirectory& directory);

} // namespace common

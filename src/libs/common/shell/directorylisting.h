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
    bool isDirectory; ///< Or a link to one.
    bool isLink;
    bool isSpecial; ///< A fifo, a socket or a device.
};

/// Returns the entries of a directory apart from hidden ones, sorted by name, ignoring case. Returns nothing
/// if it cannot be read to its end.
std::optional<std::vector<ListedEntry>> ListDirectory(const OpenDirectory& directory);

/// As above, through QDir, for a directory that only Qt can read.
std::vector<ListedEntry> ListByQt(const OpenDirectory& directory);

} // namespace common

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

/// Returns what is in a directory apart from hidden names, by name, case ignored. Empty if it cannot be read
/// to its end.
std::optional<std::vector<ListedEntry>> ListDirectory(const OpenDirectory& directory);

/// Returns the same by means of QDir, for a directory that the system does not know.
std::vector<ListedEntry> ListByQt(const OpenDirectory& directory);

} // namespace common

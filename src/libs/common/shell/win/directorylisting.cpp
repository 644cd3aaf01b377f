#include "../directorylisting.h"

#include <QDir>

namespace common
{

std::optional<std::vector<ListedEntry>> ListDirectory(const OpenDirectory& directory)
{
    return directory.IsOpen() && QDir(directory.Path()).isReadable() ? std::optional(ListByQt(directory))
                                                                     : std::nullopt;
}

} // namespace common

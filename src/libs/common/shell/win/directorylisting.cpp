#include "../directorylisting.h"

namespace common
{

std::vector<ListedEntry> ListDirectory(const QString& absolutePath)
{
    return ListByQt(absolutePath);
}

} // namespace common

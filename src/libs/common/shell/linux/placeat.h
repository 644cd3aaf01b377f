#pragma once

#include "../opendirectory.h"

#include <fcntl.h>

namespace common
{

/// What the name of a place is relative to, for the system calls that end in "at".
inline int DirectoryOf(const FilePlace& place)
{
    return place.directory != nullptr ? static_cast<int>(place.directory->Native()) : AT_FDCWD;
}

} // namespace common

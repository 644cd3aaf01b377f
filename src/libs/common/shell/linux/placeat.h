#pragma once

#include "../opendirectory.h"

#include <fcntl.h>

namespace common
{

/// Returns the descriptor that the name of a place is relative to, for system calls such as openat.
inline int DirectoryOf(const FilePlace& place)
{
    return place.directory != nullptr ? static_cast<int>(place.directory->Native()) : AT_FDCWD;
}

} // namespace common

#pragma once

#include <common/idle/idlewatcher.h>

#include <memory>

namespace common
{

/// Returns the best backend that this system offers; null, with an Error line, if it offers none.
std::unique_ptr<IIdleBackend> createIdleBackend();

} // namespace common

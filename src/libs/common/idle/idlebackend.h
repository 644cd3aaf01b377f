#pragma once

#include <common/idle/idlewatcher.h>

#include <memory>

namespace common
{

/// Returns the best backend that this system offers. If it offers none, logs an Error line and returns null.
std::unique_ptr<IIdleBackend> createIdleBackend();

} // namespace common

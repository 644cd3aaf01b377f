#pragma once

#include <cstddef>

namespace common::platform
{

/**
 * Returns whether this process can open `count` more descriptors at the moment. On Linux, the event loop of a
 * thread needs one, and GLib aborts the program if none is available.
 */
bool HasDescriptors(std::size_t count);

} // namespace common::platform

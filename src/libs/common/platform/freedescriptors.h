#pragma once

#include <cstddef>

namespace common::platform
{

/**
 * Returns whether this process can open `count` more descriptors at the moment. The event loop of a thread
 * takes one on Linux, and GLib ends the program if there is none.
 */
bool HasDescriptors(std::size_t count);

} // namespace common::platform

#pragma once

#include <cstddef>

namespace common::platform
{

/**
 * Returns whether this process can start a thread and open some descriptors at the moment. An event loop
 * takes one descriptor, a connection with its own thread up to four.
 *
 * On Linux, Qt waits without end for some threads that could not start, and GLib ends the program if an event
 * loop gets no descriptor. Check before you start a thread, a connection to a bus or a network request.
 */
bool CanStartThread(std::size_t descriptors);

} // namespace common::platform

#pragma once

#include <cstddef>

namespace common::platform
{

/**
 * Returns whether this process can open `count` more descriptors at the moment. The event loop of a thread
 * takes one on Linux, and GLib ends the program if there is none.
 */
bool HasDescriptors(std::size_t count);

/**
 * Returns whether this process can start a thread with an event loop at the moment. Check before you start a
 * thread of D-Bus or wait for one: Qt waits without end for some threads that could not start. Starts a
 * thread itself, which may take some tenths of a millisecond.
 */
bool CanStartThread();

} // namespace common::platform

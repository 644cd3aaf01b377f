#pragma once

#include <functional>

namespace vxtool
{

/// Calls `handle` on the thread of the event loop, once, when the user interrupts the program (Ctrl-C), which
/// then does not end by itself. A second interrupt does.
void OnInterrupt(const std::function<void()>& handle);

} // namespace vxtool

#include <common/tools/keyboard.h>

#include <qt_windows.h>

namespace tools
{

bool Keyboard::IsCapsLock()
{
    // The low bit means "on", the high bit "held down"; require the low bit alone.
    return GetKeyState(VK_CAPITAL) == 1;
}

} // namespace tools

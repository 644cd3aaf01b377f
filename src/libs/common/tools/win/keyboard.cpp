#include <common/tools/keyboard.h>

#include <qt_windows.h>

namespace tools
{

bool Keyboard::IsCapsLock()
{
    // The low bit is "on", the high bit "held down"; only the low one alone counts.
    return GetKeyState(VK_CAPITAL) == 1;
}

} // namespace tools

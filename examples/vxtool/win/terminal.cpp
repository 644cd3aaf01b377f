#include "../terminal.h"

#include <windows.h>

namespace vxtool
{

int TerminalWidth()
{
    CONSOLE_SCREEN_BUFFER_INFO info;
    return GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &info) != FALSE
               ? info.srWindow.Right - info.srWindow.Left + 1
               : 0;
}

} // namespace vxtool

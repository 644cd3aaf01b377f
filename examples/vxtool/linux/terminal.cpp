#include "../terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace vxtool
{

int TerminalWidth()
{
    constexpr int usualWidth = 80; // Some terminals do not tell theirs.
    if (isatty(STDERR_FILENO) == 0) {
        return 0;
    }
    winsize size = {};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : usualWidth;
}

} // namespace vxtool

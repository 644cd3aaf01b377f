#pragma once

#include <common/vxcommon_export.h>

namespace tools
{

/// The state of the keyboard. Any thread may call.
class VXCOMMON_EXPORT Keyboard
{
public:
    Keyboard() = delete;

    /**
     * Whether Caps Lock is on. While the key is held down the answer is false, whatever its state.
     *
     * Windows: GetKeyState. Linux: the XKB extension of the X server that DISPLAY names; false without one.
     * In a Wayland session that server knows the state only while one of its own windows has the focus.
     */
    static bool IsCapsLock();
};

} // namespace tools

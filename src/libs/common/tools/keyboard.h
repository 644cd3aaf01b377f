#pragma once

#include <common/vxcommon_export.h>

namespace tools
{

/// The state of the keyboard. Can be called from any thread.
class VXCOMMON_EXPORT Keyboard
{
public:
    Keyboard() = delete;

    /**
     * Returns whether Caps Lock is on. Returns false while the key is held down.
     *
     * Windows: GetKeyState. Linux: the XKB extension of the X server that DISPLAY names; false without one.
     * In a Wayland session that server knows the state only while one of its own windows has the focus.
     */
    static bool IsCapsLock();
};

} // namespace tools

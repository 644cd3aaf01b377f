#pragma once

#include <common/vxcommon_export.h>

namespace tools
{

/// Queries the state of the keyboard. Thread-safe.
class VXCOMMON_EXPORT Keyboard
{
public:
    Keyboard() = delete;

    /**
     * Returns whether Caps Lock is on. Returns false while the key is held down.
     *
     * Windows: calls GetKeyState. Linux: queries the XKB extension of the X server that DISPLAY names;
     * returns false without an X server. In a Wayland session, the X server receives the state only while one
     * of its windows has the focus.
     */
    static bool IsCapsLock();
};

} // namespace tools

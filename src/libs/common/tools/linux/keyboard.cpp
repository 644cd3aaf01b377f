#include <common/tools/keyboard.h>

#include "../../platform/linux/xdisplay.h"

// This C header declares a member called "explicit".
#ifdef __clang__
#pragma clang diagnostic ignored "-Wkeyword-macro"
#endif
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit

namespace tools
{

bool Keyboard::IsCapsLock()
{
    const common::platform::XConnection connection = common::platform::ConnectToX();
    if (connection == nullptr) {
        return false;
    }
    const common::platform::XReply<xcb_xkb_use_extension_reply_t> extension(xcb_xkb_use_extension_reply(
        connection.get(),
        xcb_xkb_use_extension(connection.get(), XCB_XKB_MAJOR_VERSION, XCB_XKB_MINOR_VERSION), nullptr));
    if (extension == nullptr || extension->supported == 0) {
        return false;
    }
    const common::platform::XReply<xcb_xkb_get_state_reply_t> state(xcb_xkb_get_state_reply(
        connection.get(), xcb_xkb_get_state(connection.get(), XCB_XKB_ID_USE_CORE_KBD), nullptr));
    // While a key is held down, its modifier is among the base modifiers.
    return state != nullptr && (state->lockedMods & XCB_MOD_MASK_LOCK) != 0 &&
           (state->baseMods & XCB_MOD_MASK_LOCK) == 0;
}

} // namespace tools

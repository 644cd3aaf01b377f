#pragma once

#include <cstdlib>
#include <memory>

#include <xcb/xcb.h>

namespace common::platform
{

struct DisconnectFromX
{
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};
using XConnection = std::unique_ptr<xcb_connection_t, DisconnectFromX>;

struct FreeXReply
{
    void operator()(void* reply) const { std::free(reply); }
};
/// The reply of an xcb call, allocated by malloc; null if the call failed.
template<typename Reply>
using XReply = std::unique_ptr<Reply, FreeXReply>;

/// Opens a separate connection to the X server that DISPLAY names; null on failure. Any thread may call this
/// function.
inline XConnection ConnectToX(int* screen = nullptr)
{
    XConnection connection(std::getenv("DISPLAY") != nullptr ? xcb_connect(nullptr, screen) : nullptr);
    if (connection != nullptr && xcb_connection_has_error(connection.get()) != 0) {
        connection.reset();
    }
    return connection;
}

} // namespace common::platform

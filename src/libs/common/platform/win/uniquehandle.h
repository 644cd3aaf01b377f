#pragma once

#include <QtGlobal>

#include <utility>

#include <qt_windows.h>

namespace common::platform
{

/// Owns a handle for CloseHandle. Treats null and INVALID_HANDLE_VALUE, which system calls return on failure,
/// as no handle.
class UniqueHandle
{
public:
    explicit UniqueHandle(HANDLE handle_)
        : handle(handle_ != INVALID_HANDLE_VALUE ? handle_ : nullptr)
    {}
    UniqueHandle(UniqueHandle&& other) noexcept
        : handle(std::exchange(other.handle, nullptr))
    {}
    ~UniqueHandle()
    {
        if (IsOpen()) {
            CloseHandle(handle);
        }
    }

    bool IsOpen() const { return handle != nullptr; }
    HANDLE Get() const { return handle; }

private:
    Q_DISABLE_COPY(UniqueHandle)

    HANDLE handle;
};

} // namespace common::platform

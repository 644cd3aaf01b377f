#pragma once

#include <QtGlobal>

#include <utility>

#include <unistd.h>

namespace common::platform
{

/// Owns a file descriptor, or none.
class FileDescriptor
{
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor_)
        : descriptor(descriptor_)
    {}
    FileDescriptor(FileDescriptor&& other) noexcept
        : descriptor(other.Take())
    {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        std::swap(descriptor, other.descriptor);
        return *this;
    }
    ~FileDescriptor() { Close(); }

    bool IsOpen() const { return descriptor >= 0; }
    int Get() const { return descriptor; }
    int Take() { return std::exchange(descriptor, -1); }
    /// Returns false if the system has lost written data.
    bool Close() { return !IsOpen() || ::close(Take()) == 0; }

private:
    Q_DISABLE_COPY(FileDescriptor)

    int descriptor = -1;
};

} // namespace common::platform

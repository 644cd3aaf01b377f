#include "../threadprobe.h"

#include "filedescriptor.h"

#include <algorithm>
#include <vector>

#include <fcntl.h>
#include <pthread.h>

namespace common::platform
{

namespace
{

bool HasDescriptors(std::size_t count)
{
    std::vector<FileDescriptor> descriptors(count);
    return std::all_of(descriptors.begin(), descriptors.end(), [](FileDescriptor& descriptor) {
        descriptor = FileDescriptor(::open("/dev/null", O_RDONLY | O_CLOEXEC));
        return descriptor.IsOpen();
    });
}

} // namespace

bool CanStartThread(std::size_t descriptors)
{
    if (!HasDescriptors(descriptors)) {
        return false;
    }
    pthread_t thread{};
    const auto doNothing = [](void*) -> void* { return nullptr; };
    return pthread_create(&thread, nullptr, doNothing, nullptr) == 0 && pthread_join(thread, nullptr) == 0;
}

} // namespace common::platform

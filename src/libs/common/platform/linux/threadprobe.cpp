#include "../threadprobe.h"

#include "filedescriptor.h"

#include <algorithm>
#include <vector>

#include <pthread.h>
#include <sys/eventfd.h>

namespace common::platform
{

bool HasDescriptors(std::size_t count)
{
    std::vector<FileDescriptor> descriptors(count);
    return std::all_of(descriptors.begin(), descriptors.end(), [](FileDescriptor& descriptor) {
        descriptor = FileDescriptor(::eventfd(0, EFD_CLOEXEC));
        return descriptor.IsOpen();
    });
}

bool CanStartThread()
{
    pthread_t thread{};
    const auto doNothing = [](void*) -> void* { return nullptr; };
    return HasDescriptors(1) && pthread_create(&thread, nullptr, doNothing, nullptr) == 0 &&
           pthread_join(thread, nullptr) == 0;
}

} // namespace common::platform

#include "../freedescriptors.h"

#include "filedescriptor.h"

#include <algorithm>
#include <vector>

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

} // namespace common::platform

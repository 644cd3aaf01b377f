#include "../threadprobe.h"

namespace common::platform
{

bool CanStartThread(std::size_t /*descriptors*/)
{
    return true;
}

} // namespace common::platform

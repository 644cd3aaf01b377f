#include "../freedescriptors.h"

namespace common::platform
{

bool HasDescriptors(std::size_t /*count*/)
{
    return true;
}

} // namespace common::platform

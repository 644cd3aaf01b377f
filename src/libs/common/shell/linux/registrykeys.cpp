#include "../registrykeys.h"

namespace common::registrykeys
{

namespace
{

/// ERROR_CALL_NOT_IMPLEMENTED: there is no registry, so there is nothing to redirect.
constexpr unsigned long callNotImplemented = 120;

} // namespace

unsigned long Open(Key /*root*/, const wchar_t* /*subkey*/, Key& opened)
{
    opened = nullptr;
    return callNotImplemented;
}

unsigned long Override(Key /*predefined*/, Key /*replacement*/)
{
    return callNotImplemented;
}

void Close(Key /*key*/) {}

} // namespace common::registrykeys

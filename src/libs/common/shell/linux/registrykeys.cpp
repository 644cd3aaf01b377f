#include "../registrykeys.h"

namespace common::registrykeys
{

namespace
{

/// ERROR_CALL_NOT_IMPLEMENTED
constexpr unsigned long callNotImplemented = 120;

} // namespace

bool IsAvailable()
{
    return false;
}

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

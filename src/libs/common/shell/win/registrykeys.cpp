#include "../registrykeys.h"

#include <qt_windows.h>

namespace common::registrykeys
{

bool IsAvailable()
{
    return true;
}

unsigned long Open(Key root, const wchar_t* subkey, Key& opened)
{
    HKEY key = nullptr;
    const LONG error = RegOpenKeyW(static_cast<HKEY>(root), subkey, &key);
    opened = key;
    return static_cast<unsigned long>(error);
}

unsigned long Override(Key predefined, Key replacement)
{
    return static_cast<unsigned long>(
        RegOverridePredefKey(static_cast<HKEY>(predefined), static_cast<HKEY>(replacement)));
}

void Close(Key key)
{
    RegCloseKey(static_cast<HKEY>(key));
}

} // namespace common::registrykeys

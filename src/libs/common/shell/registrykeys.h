#pragma once

/// Windows registry calls for a redirection. Open and Override return 0 or a Windows error code.
namespace common::registrykeys
{

using Key = void*; ///< An HKEY.

/// Returns whether the system has a registry. Without a registry, the calls fail.
bool IsAvailable();

unsigned long Open(Key root, const wchar_t* subkey, Key& opened);

/// Replaces a predefined key with `replacement` in the whole process; null restores the default.
unsigned long Override(Key predefined, Key replacement);

void Close(Key key);

} // namespace common::registrykeys

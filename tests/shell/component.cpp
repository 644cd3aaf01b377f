// A component whose registration leaves a mark in the registry, where there is one. COMPONENT_RESULT is what
// its entry points return.

#include <cstdint>
#include <cstdlib>

#ifdef _WIN32
#include <windows.h>
#define EXPORTED extern "C" __declspec(dllexport)
#else
#define EXPORTED extern "C" __attribute__((visibility("default")))
#endif

EXPORTED std::int32_t DllRegisterServer()
{
#ifdef _WIN32
    HKEY created = nullptr;
    RegCreateKeyW(HKEY_CLASSES_ROOT, L"vxcommon.test.component", &created);
    RegCloseKey(created);
#endif
    return static_cast<std::int32_t>(std::strtoul(std::getenv("COMPONENT_RESULT"), nullptr, 16));
}

EXPORTED std::int32_t DllUnregisterServer()
{
#ifdef _WIN32
    RegDeleteKeyW(HKEY_CLASSES_ROOT, L"vxcommon.test.component");
#endif
    return static_cast<std::int32_t>(std::strtoul(std::getenv("COMPONENT_RESULT"), nullptr, 16));
}

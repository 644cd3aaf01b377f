// A component whose registration creates a registry key on Windows. Its entry points return COMPONENT_RESULT.

#include <cstdint>
#include <cstdlib>

#ifdef _WIN32
#include <windows.h>
#define EXPORTED extern "C" __declspec(dllexport)
#else
#define EXPORTED extern "C" __attribute__((visibility("default")))
#endif

namespace
{

std::int32_t Result()
{
    const char* const text = std::getenv("COMPONENT_RESULT");
    return text != nullptr ? static_cast<std::int32_t>(std::strtoul(text, nullptr, 16)) : 0;
}

} // namespace

EXPORTED std::int32_t DllRegisterServer()
{
#ifdef _WIN32
    HKEY created = nullptr;
    RegCreateKeyW(HKEY_CLASSES_ROOT, L"vxcommon.test.component", &created);
    RegCloseKey(created);
#endif
    return Result();
}

EXPORTED std::int32_t DllUnregisterServer()
{
#ifdef _WIN32
    RegDeleteKeyW(HKEY_CLASSES_ROOT, L"vxcommon.test.component");
#endif
    return Result();
}

// A component whose registration leaves a mark: in the registry on Windows, else in the file that
// COMPONENT_FILE names. COMPONENT_RESULT is what its entry points return.

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#ifdef _WIN32
#include <windows.h>
#define EXPORTED extern "C" __declspec(dllexport)
#else
#define EXPORTED extern "C" __attribute__((visibility("default")))
#endif

namespace
{

const char* Setting(const char* name)
{
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

} // namespace

EXPORTED std::int32_t DllRegisterServer()
{
#ifdef _WIN32
    HKEY created = nullptr;
    if (RegCreateKeyW(HKEY_CLASSES_ROOT, L"vxcommon.test.component", &created) == ERROR_SUCCESS) {
        RegCloseKey(created);
    }
#else
    if (std::FILE* const file = std::fopen(Setting("COMPONENT_FILE"), "w")) {
        static_cast<void>(std::fclose(file));
    }
#endif
    return static_cast<std::int32_t>(std::strtoul(Setting("COMPONENT_RESULT"), nullptr, 16));
}

EXPORTED std::int32_t DllUnregisterServer()
{
#ifdef _WIN32
    RegDeleteKeyW(HKEY_CLASSES_ROOT, L"vxcommon.test.component");
#else
    static_cast<void>(std::remove(Setting("COMPONENT_FILE")));
#endif
    return static_cast<std::int32_t>(std::strtoul(Setting("COMPONENT_RESULT"), nullptr, 16));
}

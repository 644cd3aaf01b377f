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

std::int32_t Result()
{
    const char* const text = std::getenv("COMPONENT_RESULT");
    return text != nullptr ? static_cast<std::int32_t>(std::strtoul(text, nullptr, 16)) : 0;
}

#ifdef _WIN32
const wchar_t* const key = L"vxcommon.test.component";

void Mark()
{
    HKEY created = nullptr;
    if (RegCreateKeyW(HKEY_CLASSES_ROOT, key, &created) == ERROR_SUCCESS) {
        RegCloseKey(created);
    }
}

void Unmark()
{
    RegDeleteKeyW(HKEY_CLASSES_ROOT, key);
}
#else
void Mark()
{
    if (std::FILE* const file = std::fopen(std::getenv("COMPONENT_FILE"), "w")) {
        static_cast<void>(std::fclose(file));
    }
}

void Unmark()
{
    static_cast<void>(std::remove(std::getenv("COMPONENT_FILE")));
}
#endif

} // namespace

EXPORTED std::int32_t DllRegisterServer()
{
    Mark();
    return Result();
}

EXPORTED std::int32_t DllUnregisterServer()
{
    Unmark();
    return Result();
}

// Calls ILogger::Destroy through a null pointer, optimised, so that a compiler has its chance to break it.

#include <common/logger/logger.h>

int main()
{
    common::logger::ILogger* volatile none = nullptr;
    // cppcheck-suppress nullPointer ; this is the test
    none->Destroy(); // NOLINT(clang-analyzer-core.CallAndMessage)
    common::logger::DestroyLogger(none);
    return 0;
}

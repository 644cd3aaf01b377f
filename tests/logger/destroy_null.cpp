// Calls ILogger::Destroy through a null pointer, optimised, so that a compiler has its chance to break it;
// and looks for the default logger when all that came after this file's static object is gone.

#include <common/logger/logger.h>

#include <cstdlib>

namespace
{

struct Last
{
    ~Last()
    {
        if (common::logger::GetLogger() == nullptr) {
            std::_Exit(1);
        }
    }
};

const Last last;

} // namespace

int main()
{
    common::logger::GetLogger()->SetLevel(common::logger::Fatal);
    common::logger::ILogger* volatile none = nullptr;
    // cppcheck-suppress nullPointer ; this is the test
    none->Destroy(); // NOLINT(clang-analyzer-core.CallAndMessage)
    common::logger::DestroyLogger(none);
    return 0;
}

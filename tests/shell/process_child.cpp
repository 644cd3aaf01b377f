// A process that lives for as long as it is told: process_child MILLISECONDS [REPORT [HANDLE]]
// REPORT receives one line each: the working directory, then every descriptor that is open or, on Windows,
// HANDLE if that is one.

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#endif

namespace
{

void Report(const char* path, const char* handle)
{
    std::ofstream report(std::string(path) + ".new");
    report << std::filesystem::current_path().u8string() << '\n';
#ifdef _WIN32
    DWORD flags = 0;
    if (GetHandleInformation(reinterpret_cast<HANDLE>(std::strtoull(handle, nullptr, 10)), &flags) != 0) {
        report << handle << '\n';
    }
#else
    static_cast<void>(handle);
    constexpr int reportDescriptor = 3;
    constexpr int limit = 1024;
    for (int descriptor = 0; descriptor < limit; ++descriptor) {
        if (descriptor != reportDescriptor && fcntl(descriptor, F_GETFD) >= 0) {
            report << descriptor << '\n';
        }
    }
#endif
    report.close();
    std::filesystem::rename(std::string(path) + ".new", path);
}

} // namespace

int main(int argc, char* argv[])
{
    static_cast<void>(std::signal(SIGTERM, SIG_IGN));
    if (argc > 2) {
        Report(argv[2], argc > 3 ? argv[3] : "0");
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(argc > 1 ? std::strtol(argv[1], nullptr, 10) : 0));
    return 0;
}

// A process that lives for as long as it is told: process_child MILLISECONDS [REPORT [HANDLE]]
// REPORT receives the working directory and whether HANDLE or, on Linux, any but the standard streams is
// "open" or "closed". With "thread" in its place the first thread ends at once, on Linux, and a second one
// lives on.

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>
#endif

namespace
{

void Report(const std::string& path, const char* handle)
{
#ifdef _WIN32
    DWORD flags = 0;
    const bool isOpen =
        GetHandleInformation(reinterpret_cast<HANDLE>(std::strtoull(handle, nullptr, 10)), &flags) != 0;
#else
    static_cast<void>(handle);
    constexpr int limit = 1024;
    bool isOpen = false;
    for (int descriptor = STDERR_FILENO + 1; descriptor < limit; ++descriptor) {
        isOpen = isOpen || fcntl(descriptor, F_GETFD) >= 0;
    }
#endif
    std::ofstream(path + ".new") << std::filesystem::current_path().u8string() << '\n'
                                 << (isOpen ? "open" : "closed") << '\n';
    std::filesystem::rename(path + ".new", path);
}

} // namespace

int main(int argc, char* argv[])
{
    static_cast<void>(std::signal(SIGTERM, SIG_IGN));
    const std::chrono::milliseconds lifetime(argc > 1 ? std::strtol(argv[1], nullptr, 10) : 0);
#ifndef _WIN32
    if (argc > 2 && std::strcmp(argv[2], "thread") == 0) {
        std::thread([lifetime] {
            std::this_thread::sleep_for(lifetime);
            _exit(7);
        }).detach();
        syscall(SYS_exit, 0); // Ends this thread only.
    }
#endif
    if (argc > 2) {
        Report(argv[2], argc > 3 ? argv[3] : "0");
    }
    std::this_thread::sleep_for(lifetime);
    return 0;
}

// A process that runs for a given time and ignores SIGTERM: process_child MILLISECONDS
// If MILLISECONDS is negative, the main thread exits immediately and another thread keeps the process alive
// (not on Windows).

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <thread>

#ifndef _WIN32
#include <pthread.h>
#endif

int main(int argc, char* argv[])
{
    static_cast<void>(std::signal(SIGTERM, SIG_IGN));
    const long lifetime = argc > 1 ? std::strtol(argv[1], nullptr, 10) : 0;
    const auto live = [lifetime] {
        std::this_thread::sleep_for(std::chrono::milliseconds(std::labs(lifetime)));
    };
#ifndef _WIN32
    if (lifetime < 0) {
        std::thread(live).detach();
        pthread_exit(nullptr);
    }
#endif
    live();
    return 0;
}

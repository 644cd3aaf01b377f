// A process that lives for the given time and does not end on request: process_child MILLISECONDS

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <thread>

int main(int argc, char* argv[])
{
    static_cast<void>(std::signal(SIGTERM, SIG_IGN));
    const long lifetime = argc > 1 ? std::strtol(argv[1], nullptr, 10) : 0;
    std::this_thread::sleep_for(std::chrono::milliseconds(lifetime));
    return 0;
}

#pragma once

#include <csignal>

#include <sys/resource.h>
#include <unistd.h>

/// Lowers a limit of this process during its lifetime. With RLIMIT_FSIZE, a write fails as it would on a
/// full disk.
class ResourceLimit
{
public:
    ResourceLimit(decltype(RLIMIT_FSIZE) resource_, rlim_t value)
        : resource(resource_)
    {
        static_cast<void>(std::signal(SIGXFSZ, SIG_IGN)); // By default, SIGXFSZ ends the program.
        getrlimit(resource, &usual);
        const rlimit low{value, usual.rlim_max};
        setrlimit(resource, &low);
    }
    ~ResourceLimit() { setrlimit(resource, &usual); }

    ResourceLimit(const ResourceLimit&) = delete;
    ResourceLimit& operator=(const ResourceLimit&) = delete;

private:
    const decltype(RLIMIT_FSIZE) resource;
    rlimit usual{};
};

/// Returns the descriptor limit that leaves no spare descriptor.
inline rlim_t OpenDescriptors()
{
    const int next = dup(STDIN_FILENO);
    close(next);
    return static_cast<rlim_t>(next);
}

/// Compares the start of a program linked with vxcommon with that of a program linked only with the
/// dependencies of vxcommon.

#include <benchmark/benchmark.h>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench
{

namespace
{

void Start(benchmark::State& state, const char* program)
{
    char* const arguments[] = {const_cast<char*>(program), nullptr};
    for (auto _ : state) {
        pid_t child = 0;
        int status = -1;
        if (posix_spawn(&child, program, nullptr, nullptr, arguments, environ) != 0 ||
            waitpid(child, &status, 0) != child || status != 0) {
            state.SkipWithError("the program could not be started");
            return;
        }
    }
}
BENCHMARK_CAPTURE(Start, vxcommon, START_WITH_LIBRARY)
    ->Name("start of a program/vxcommon")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(Start, dependencies, START_WITH_DEPENDENCIES)
    ->Name("start of a program/what it calls, linked")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

} // namespace

} // namespace bench

BENCHMARK_MAIN();

#pragma once

#include <QByteArray>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

/// Runs one input through the code under test. Each fuzz target defines it.
void RunInput(const QByteArray& input);

/// Ends the program, which libFuzzer takes for a finding, if a property does not hold.
inline void Require(bool holds, const char* property)
{
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", property);
        std::abort();
    }
}

// NOLINTNEXTLINE(misc-definitions-in-headers): the one entry point that libFuzzer calls, in the one file that
// has it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    RunInput(QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));
    return 0;
}

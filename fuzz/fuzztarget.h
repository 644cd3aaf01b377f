#pragma once

#include <QByteArray>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

/// Runs one input through the code under test. Each fuzz target defines it.
void RunInput(const QByteArray& input);

/// Aborts the program if `holds` is false; libFuzzer reports the abort as a finding.
inline void Require(bool holds, const char* property)
{
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", property);
        std::abort();
    }
}

// NOLINTNEXTLINE(misc-definitions-in-headers): each target includes this entry point of libFuzzer once.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    RunInput(QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));
    return 0;
}

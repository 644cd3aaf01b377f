#!/usr/bin/env bash
# Checks format, clang-tidy and cppcheck over the tree, or over the given sources only: scripts/lint.sh [SOURCE...]

source "$(dirname "$0")/lib.sh"

scripts/setup.sh lint
say "Checking the format"
git ls-files '*.cpp' '*.h' | xargs clang-format --dry-run -Werror

say "Configuring and generating (lint)"
# The benchmarks and their peers are part of what is read; moc's output must be there to be included.
quietly cmake --preset dev -B build/lint -DVXCOMMON_BUILD_BENCHMARKS=ON
quietly cmake --build build/lint

sources=("$@")
if [ ${#sources[@]} -eq 0 ]; then
    mapfile -t sources < <(git ls-files '*.cpp' ':!:*/win/*' ':!:*_none.cpp' ':!:examples/consumer')
fi
say "Running clang-tidy on ${#sources[@]} sources"
printf '%s\n' "${sources[@]}" | xargs -P "$(nproc)" -n 4 clang-tidy --quiet -p build/lint 2> >(grep -v 'warnings generated' >&2)

say "Running cppcheck"
cppcheck --quiet --std=c++17 --language=c++ --library=qt --enable=warning,performance,portability --inline-suppr \
    --error-exitcode=1 -j "$(nproc)" -I src/libs "${sources[@]}"
say "Nothing found"

#!/usr/bin/env bash
# Checks the format of the tree, then runs clang-tidy and cppcheck on all sources or only on the given ones:
# scripts/lint.sh [SOURCE...]
# Without arguments, if a Windows SDK is available, also builds with Clang for Windows and runs the tests.

source "$(dirname "$0")/lib.sh"

export CMAKE_COMPILE_WARNING_AS_ERROR=ON
scripts/setup.sh lint
say "Checking the format"
git ls-files '*.cpp' '*.h' | xargs clang-format --dry-run -Werror

say "Configuring and generating (lint)"
# The checks include the benchmarks and need moc's output.
quietly cmake --preset dev -B build/lint -DVXCOMMON_BUILD_BENCHMARKS=ON
quietly cmake --build build/lint
# Only Clang builds the fuzz targets, so their compile commands are in another build directory.
quietly cmake --preset fuzz -B build/lint-fuzz

sources=("$@")
if [ ${#sources[@]} -eq 0 ]; then
    mapfile -t sources < <(git ls-files '*.cpp' ':!:*/win/*' ':!:*_none.cpp' ':!:examples/consumer')
fi
say "Running clang-tidy on ${#sources[@]} sources"
# $1: the directory of the compile commands; reads the sources from standard input.
tidy() { xargs -r -P "$(nproc)" -n 4 clang-tidy --quiet -p "$1" 2> >(grep -v 'warnings generated' >&2); }
result=0
printf '%s\n' "${sources[@]}" | { grep -v '^fuzz/' || true; } | tidy build/lint || result=1
printf '%s\n' "${sources[@]}" | { grep '^fuzz/' || true; } | tidy build/lint-fuzz || result=1
[ $result -eq 0 ] || die "clang-tidy has found something"

say "Running cppcheck"
# clang-tidy already checks for arguments passed by value.
cppcheck --quiet --std=c++17 --language=c++ --library=qt --enable=warning,performance,portability --inline-suppr \
    --suppress=passedByValue --error-exitcode=1 -j "$(nproc)" -I src/libs "${sources[@]}"

if [ $# -eq 0 ] && [ -n "$(find_windows_sdk)" ]; then
    scripts/test-windows.sh windows-clang || [ $? -eq 77 ]
fi
say "Nothing found"

#!/usr/bin/env bash
# Builds and runs all tests: natively, then for Windows under Wine if a Windows SDK is available.
# With arguments, runs only the given presets, for example: scripts/test.sh clang asan tsan

source "$(dirname "$0")/lib.sh"

run_preset() {
    [ "$1" != clang ] || scripts/setup.sh clang
    build "$1"
    say "Running the tests ($1)"
    ctest --preset "$1"
}

scripts/setup.sh test
if [ $# -gt 0 ]; then
    for preset in "$@"; do
        run_preset "$preset"
    done
    exit 0
fi

run_preset dev
windows_sdk=$(find_windows_sdk)
if [ -n "$windows_sdk" ]; then
    # The script exits with 77 after it has printed why it cannot run.
    scripts/test-windows.sh || [ $? -eq 77 ]
else
    say "The Windows lane was left out: no Windows SDK (set VXCOMMON_WINDOWS_SDK to one)"
fi
say "All tests passed"

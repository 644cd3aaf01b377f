#!/usr/bin/env bash
# Makes the Debian packages of a release build in build/release/packages. With "windows" it makes a zip of the library
# cross-built for 64-bit Windows, once its tests have passed, in build/windows-mingw/packages.

source "$(dirname "$0")/lib.sh"

case "$*" in
"")
    build_dir=build/release
    scripts/setup.sh demo package
    say "Configuring and building (release)"
    quietly cmake --preset release
    build release
    ;;
windows)
    build_dir=build/windows-mingw
    scripts/test-windows.sh
    ;;
*) die "unknown arguments \"$*\"; the script takes none, or \"windows\"" ;;
esac

say "Packing"
rm -rf "$build_dir/packages"
quietly cpack --config "$build_dir/CPackConfig.cmake"
ls "$build_dir"/packages/*.*

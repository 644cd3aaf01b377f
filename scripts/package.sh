#!/usr/bin/env bash
# Makes the Debian packages of a release build in build/release/packages.

source "$(dirname "$0")/lib.sh"

[ $# -eq 0 ] || die "unknown argument \"$1\"; the script takes none"
scripts/setup.sh demo package
say "Configuring and building (release)"
quietly cmake --preset release
quietly cmake --build --preset release
say "Packing"
quietly cpack --config build/release/CPackConfig.cmake
ls build/release/packages/*.deb

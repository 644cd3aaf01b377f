#!/usr/bin/env bash
# Builds the Debian packages of the committed and changed files below build/packages, and checks them with lintian. With
# "windows" it makes a zip of the library cross-built for 64-bit Windows, once its tests have passed, in
# build/windows-mingw/packages.

source "$(dirname "$0")/lib.sh"

case "$*" in
"")
    packages=build/packages
    scripts/setup.sh package
    say "Building the packages"
    rm -rf "$packages"
    mkdir -p "$packages/vxcommon"
    git ls-files -z | xargs -0 cp --parents -t "$packages/vxcommon"
    (cd "$packages/vxcommon" && quietly dpkg-buildpackage --build=binary --unsigned-changes)
    say "Checking them"
    lintian --fail-on error,warning "$packages"/*.changes
    ;;
windows)
    packages=build/windows-mingw/packages
    scripts/test-windows.sh
    say "Packing"
    rm -rf "$packages"
    quietly cpack --config build/windows-mingw/CPackConfig.cmake
    ;;
*) die "unknown arguments \"$*\"; the script takes none, or \"windows\"" ;;
esac
ls "$packages"/*.*

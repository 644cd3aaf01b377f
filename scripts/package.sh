#!/usr/bin/env bash
# Builds the Debian packages below build/packages from all tracked files, including uncommitted changes, and checks the
# packages with lintian. With "windows", cross-builds the library for 64-bit Windows, runs the tests, and creates a zip
# archive in build/windows-mingw/packages.

source "$(dirname "$0")/lib.sh"

# Checks that, whatever the builder's umask, other users can read all files but write to none.
check_modes() {
    local deb odd
    for deb in "$packages"/*.deb; do
        odd=$(dpkg-deb --contents "$deb" | grep -vE '^(-rw-r--r--|-rwxr-xr-x|drwxr-xr-x|lrwxrwxrwx) root/root ' || true)
        [ -z "$odd" ] || die "odd modes in $deb: $odd"
    done
}

# Checks only the library, because the programs are built with the same flags.
check_hardening() {
    local work word words=(BIND_NOW GNU_RELRO __stack_chk_fail _chk@)
    [ "$(dpkg --print-architecture)" != amd64 ] || words+=(endbr64)
    work=$(mktemp -d)
    dpkg-deb --extract "$packages"/libvxcommon0_*.deb "$work"
    readelf --wide --dynamic --segments --symbols "$work"/usr/lib/*/libvxcommon.so.*.* >"$work/facts"
    objdump --disassemble "$work"/usr/lib/*/libvxcommon.so.*.* >>"$work/facts"
    for word in "${words[@]}"; do
        grep -q "$word" "$work/facts" || die "the library was built without $word"
    done
    rm -rf "$work"
}

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
    check_modes
    check_hardening
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

#!/usr/bin/env bash
# Builds the Debian packages of the committed and changed files below build/packages, and checks them with lintian. With
# "windows", creates a zip of the library cross-built for 64-bit Windows in build/windows-mingw/packages, after its
# tests have passed.

source "$(dirname "$0")/lib.sh"

# Checks that, whatever the builder's umask, other users can read all files but write to none.
check_modes() {
    local deb odd
    for deb in "$packages"/*.deb; do
        odd=$(dpkg-deb --contents "$deb" | grep -vE '^(-rw-r--r--|-rwxr-xr-x|drwxr-xr-x|lrwxrwxrwx) root/root ' || true)
        [ -z "$odd" ] || die "odd modes in $deb: $odd"
    done
}

# Checks the library; the programs are built with the same flags.
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

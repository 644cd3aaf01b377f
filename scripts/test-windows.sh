#!/usr/bin/env bash
# Cross-builds the library, vxtool and the tests for 64-bit Windows and runs the tests under Wine. The
# argument is the preset: windows-mingw (default) or windows-clang.
# The SDK is the directory in VXCOMMON_WINDOWS_SDK or, if that is not set, ../shared/windows-sdk.
# Exits with 77 if the SDK's Qt has another version than this machine's Qt.

source "$(dirname "$0")/lib.sh"

preset=${1:-windows-mingw}
build_dir=$project_dir/build/$preset
unpacked=$project_dir/build/windows-sdk
sdk=$(find_windows_sdk)
[ -n "$sdk" ] || die "no Windows SDK: set VXCOMMON_WINDOWS_SDK to a directory with qt6/ and openssl/, or with sdk.tar.xz"

scripts/setup.sh build
if [ ! -d "$sdk/qt6" ]; then
    archive=$sdk/sdk.tar.xz
    [ -f "$archive" ] || die "neither qt6/ nor sdk.tar.xz is in $sdk"
    sdk=$unpacked/windows-sdk
    if [ ! -f "$unpacked/done" ] || [ "$archive" -nt "$unpacked/done" ]; then
        say "Unpacking the Windows SDK"
        rm -rf "$unpacked"
        mkdir -p "$unpacked"
        (cd "$unpacked" && cmake -E tar xf "$archive")
        touch "$unpacked/done"
    fi
fi

# The sources that this machine's Qt tools generate are compiled against the SDK's Qt, so the versions must match.
qt_version_of() { sed -n 's/^set(PACKAGE_VERSION "\(.*\)").*/\1/p' "$1/Qt6/Qt6ConfigVersionImpl.cmake"; }
host_qt=$(qt_version_of /usr/lib/x86_64-linux-gnu/cmake)
sdk_qt=$(qt_version_of "$sdk/qt6/lib/cmake")
if [ "$host_qt" != "$sdk_qt" ]; then
    say "The Windows lane was left out: the SDK has Qt $sdk_qt, but this machine has the tools of Qt $host_qt"
    exit 77
fi

scripts/setup.sh windows
[ "$preset" != windows-clang ] || scripts/setup.sh clang
export VXCOMMON_WINDOWS_SDK=$sdk
build "$preset"
say "Optional parts in the SDK: $(sed -n 's/^VXCOMMON_WITH_\(.*\):BOOL=/\1=/p' "$build_dir/CMakeCache.txt" | paste -sd' ')"

say "Running the tests under Wine ($preset)"
# Run all tests with one Wine server and one display, so that no test has to start its own.
export VXCOMMON_WINE_BUILD=$build_dir
export WINEPREFIX=$build_dir/wineprefix
wineserver=/usr/lib/wine/wineserver64
mkdir -p "$WINEPREFIX"
"$wineserver" --kill || true
WINEDEBUG=-all "$wineserver" --persistent </dev/null >/dev/null 2>&1 || true
trap '"$wineserver" --kill || true' EXIT
xvfb-run --auto-servernum bash -c 'scripts/run-wine.sh "$1" wineboot && ctest --preset "$2"' - "$sdk" "$preset"

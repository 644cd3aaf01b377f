#!/usr/bin/env bash
# Runs a Windows program under Wine with a separate prefix: scripts/run-wine.sh SDK PROGRAM [ARGUMENT...]
# The program finds the DLLs of the SDK, of the compiler and of the build. VXCOMMON_WINE_BUILD names the build
# directory (default: build/windows-mingw).

set -euo pipefail

[ $# -ge 2 ] || { echo "usage: run-wine.sh SDK PROGRAM [ARGUMENT...]" >&2; exit 2; }
sdk=$1
program=$2
shift 2

project_dir=$(cd "$(dirname "$0")/.." && pwd)
build_dir=${VXCOMMON_WINE_BUILD:-$project_dir/build/windows-mingw}

export WINEPREFIX=$build_dir/wineprefix
export WINEARCH=win64
export WINEDEBUG=-all
export WINEDLLOVERRIDES="mscoree,mshtml="
# Log to standard error: without a console, Qt by default writes only to a debugger.
export QT_FORCE_STDERR_LOGGING=1
export QT_PLUGIN_PATH="Z:${sdk//\//\\}\\qt6\\plugins"
dll_path=
for folder in "$build_dir/src/libs/common" "$sdk/qt6/bin" "$sdk/openssl/bin" "$sdk/log4cpp/bin" \
    "$(dirname "$(x86_64-w64-mingw32-g++-posix -print-file-name=libstdc++-6.dll)")" /usr/x86_64-w64-mingw32/lib; do
    dll_path+="Z:${folder//\//\\};"
done
export WINEPATH=$dll_path

# The 32-bit part of Wine is not needed; the grep below removes the warnings about it from standard error.
wine=/usr/lib/wine/wine64
if [ ! -e "$WINEPREFIX/ready" ]; then
    (
        flock 9
        if [ ! -e "$WINEPREFIX/ready" ]; then
            "$wine" wineboot --init </dev/null >/dev/null 2>&1 9>&-
            touch "$WINEPREFIX/ready"
        fi
    ) 9>"$build_dir/wineprefix.lock"
fi
# Write the output to files first, because a console that outlives the program would keep a pipe open.
output=$(mktemp -d)
trap 'rm -rf "$output"' EXIT
# Without a console, QtTest writes its report to the debugger unless a file is specified. The limit, in seconds, is
# lower than the timeout of ctest, so that the report of a hanging test is still printed.
report=()
limit=0
case $(basename "$program") in
tst_*)
    report=(-o "Z:${output//\//\\}\\report,txt")
    limit=280
    ;;
esac
run() { timeout "$limit" "$wine" "$program" "$@" "${report[@]}" >"$output/stdout" 2>"$output/stderr"; }
exit_code=0
run "$@" || exit_code=$?
# Wine sometimes silently fails to start a program. If the report exists, the test has started.
if [ $exit_code -ne 0 ] && [ $limit -gt 0 ] && [ ! -e "$output/report" ]; then
    echo "run-wine.sh: $(basename "$program") ended with $exit_code before it began; retrying once" >&2
    exit_code=0
    run "$@" || exit_code=$?
fi
cat "$output/stdout"
[ ! -f "$output/report" ] || cat "$output/report"
grep -v -e 'it looks like wine32 is missing' -e 'multiarch needs to be enabled' -e 'dpkg --add-architecture' \
    -e 'apt-get install wine32' -e '^as root, please$' "$output/stderr" >&2 || true
exit $exit_code

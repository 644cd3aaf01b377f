# Sourced by the other scripts: the directory of the project, and functions that report what is done.
# All of them take --no-install as their first argument, which uses what is installed and installs nothing.

set -euo pipefail

caller_dir=$PWD
project_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$project_dir"

if [ "${1:-}" = --no-install ]; then
    export VXCOMMON_NO_INSTALL=1
    shift
fi

say() { printf '== %s\n' "$*"; }

die() {
    printf 'error: %s\n' "$*" >&2
    exit 1
}

# Runs a command without its output, unless it fails.
quietly() {
    local log
    log=$(mktemp)
    if ! "$@" >"$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        die "failed: $*"
    fi
    rm -f "$log"
}

# Builds a preset: build NAME [OPTION...]. A terminal shows the progress in one line, a file only the errors.
build() {
    if [ -t 1 ]; then
        cmake --build --preset "$@"
    else
        quietly cmake --build --preset "$@"
    fi
}

# Sourced by the other scripts: sets the directory of the project and defines shared functions. If the first
# argument of a script is --no-install, the script installs nothing.

set -euo pipefail

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

# Runs a command and shows its output only if it fails.
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

# Configures and builds a preset: build NAME [OPTION...]. On a terminal, shows the progress of the build on one
# line. Otherwise, prints the output only if the build fails.
build() {
    say "Configuring and building ($1)"
    quietly cmake --preset "$1"
    if [ -t 1 ]; then
        cmake --build --preset "$@"
    else
        quietly cmake --build --preset "$@"
    fi
}

# Prints the names of the programs in DIR that begin with PREFIX, without the prefix: programs_in DIR PREFIX.
programs_in() { find "$1" -maxdepth 1 -type f -executable -name "$2*" -printf '%f\n' | sed "s/^$2//" | sort; }

# Prints the directory of the Windows SDK, which contains either qt6/ and openssl/, or sdk.tar.xz. Prints nothing if no
# SDK is found. The directory is VXCOMMON_WINDOWS_SDK or, if that is not set, ../shared/windows-sdk.
find_windows_sdk() {
    local sdk=${VXCOMMON_WINDOWS_SDK:-../shared/windows-sdk}
    if [ -d "$sdk" ]; then
        realpath -s "$sdk"
    elif [ -n "${VXCOMMON_WINDOWS_SDK:-}" ]; then
        die "VXCOMMON_WINDOWS_SDK is \"$sdk\", which is not a directory"
    fi
}

# Starts nginx with its files in DIR: serve DIR FUNCTION. Sets server_pid, and sets port to a free port. FUNCTION
# prints the server blocks of the configuration for that port.
serve() {
    local dir=$1 nginx
    nginx=$(PATH=$PATH:/usr/sbin command -v nginx)
    mkdir -p "$dir/tmp"
    for _ in {1..10}; do
        port=$((20000 + RANDOM % 12000))
        cat >"$dir/nginx.conf" <<CONF
daemon off;
pid $dir/nginx.pid;
error_log $dir/error.log;
events {}
http {
    access_log off;
    client_body_temp_path $dir/tmp; proxy_temp_path $dir/tmp; fastcgi_temp_path $dir/tmp;
    uwsgi_temp_path $dir/tmp; scgi_temp_path $dir/tmp;
    root $dir/root;
    $("$2")
}
CONF
        "$nginx" -c "$dir/nginx.conf" 2>>"$dir/error.log" &
        server_pid=$!
        # nginx writes its PID file after it has bound its ports.
        while [ ! -s "$dir/nginx.pid" ] && kill -0 $server_pid 2>/dev/null; do
            sleep 0.1
        done
        [ ! -s "$dir/nginx.pid" ] || return 0
    done
    cat "$dir/error.log" >&2
    die "nginx did not start"
}

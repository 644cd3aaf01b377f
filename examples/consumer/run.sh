#!/usr/bin/env bash
# Builds this project against an installed vxcommon and runs the tour: examples/consumer/run.sh [PREFIX [CMAKE_ARG...]]
# Without PREFIX, first builds the library and installs it into a temporary directory. If PREFIX is "", uses the
# vxcommon package of the system.

source "$(dirname "$0")/../../scripts/lib.sh"

dir=$(mktemp -d)
server=
trap '[ -z "$server" ] || kill "$server"; rm -rf "$dir"' EXIT

if [ $# -gt 0 ]; then
    prefix=$1
    shift
else
    scripts/setup.sh demo package
    prefix=$dir/prefix
    build release
    quietly cmake --install build/release --prefix "$prefix"
fi

say "Building the consumer"
quietly cmake -S examples/consumer -B "$dir/build" -G Ninja ${prefix:+-DCMAKE_PREFIX_PATH="$prefix"} "$@"
quietly cmake --build "$dir/build"

mkdir "$dir/web" "$dir/home" "$dir/tour"
echo "hello from the web server" >"$dir/web/hello.txt"
: >"$dir/server.log" # The shell opens it in the background, perhaps after the loop has read it.
python3 -u -m http.server 0 --bind 127.0.0.1 --directory "$dir/web" >"$dir/server.log" 2>&1 &
server=$!
port=
for _ in $(seq 100); do
    port=$(sed -n 's/^Serving HTTP on .* port \([0-9]*\) .*/\1/p' "$dir/server.log")
    [ -z "$port" ] || break
    sleep 0.1
done
[ -n "$port" ] || die "the web server did not start: $(cat "$dir/server.log")"

say "Running the tour"
env QT_QPA_PLATFORM=offscreen HOME="$dir/home" XDG_CONFIG_HOME="$dir/home" TMPDIR="$dir/tour" \
    "$dir/build/tour" "http://127.0.0.1:$port/hello.txt" "$dir/tour"

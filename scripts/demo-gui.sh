#!/usr/bin/env bash
# Starts vxphone. Without a display, takes screenshots of it and prints their directory.

source "$(dirname "$0")/lib.sh"

[ $# -eq 0 ] || die "unknown argument \"$1\"; the script takes none"
[ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] || exec scripts/vxphone-pictures.sh

scripts/setup.sh demo
build release --target vxphone
say "Starting vxphone"
exec build/release/examples/vxphone/vxphone

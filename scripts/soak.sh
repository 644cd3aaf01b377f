#!/usr/bin/env bash
# Runs one process that logs, downloads, copies, watches and receives messages while faults occur, for the given time
# (default: 20 minutes), and reports whether every result was as expected: scripts/soak.sh [MINUTES [SVG]]

source "$(dirname "$0")/lib.sh"

minutes=${1:-20}
scripts/setup.sh test
say "Configuring and building (dev)"
quietly cmake --preset dev
build dev --target soak vxtool
say "Running; minutes: $minutes"
# The disk to fill is mounted in a separate namespace.
xvfb-run -a unshare --map-root-user --mount python3 tests/soak/drive.py build/dev/tests/soak/soak \
    build/dev/examples/vxtool/vxtool "$((minutes * 60))" "${@:2}"

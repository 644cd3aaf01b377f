#!/usr/bin/env bash
# Runs one process that logs, downloads, copies, watches for sleep and receives messages while faults occur. Reports
# whether every result was as expected: scripts/soak.sh [MINUTES [SVG]] (default: 20 minutes)

source "$(dirname "$0")/lib.sh"

minutes=${1:-20}
scripts/setup.sh test
build dev --target soak vxtool
say "Running; minutes: $minutes"
# Use a separate mount namespace, because the test mounts a disk in order to fill it.
xvfb-run -a unshare --map-root-user --mount python3 tests/soak/drive.py build/dev/tests/soak/soak \
    build/dev/examples/vxtool/vxtool "$((minutes * 60))" "${@:2}"

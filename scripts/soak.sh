#!/usr/bin/env bash
# Runs one process that logs, downloads, copies, watches and receives messages among faults for 20 minutes, or as many
# as the argument says, and reports whether it kept all promises: scripts/soak.sh [MINUTES [SVG]]

source "$(dirname "$0")/lib.sh"

minutes=${1:-20}
scripts/setup.sh test
say "Configuring and building (dev)"
quietly cmake --preset dev
build dev --target soak vxtool
say "Running; minutes: $minutes"
# The disk that is filled is mounted where nobody else sees it.
xvfb-run -a unshare --map-root-user --mount python3 tests/soak/drive.py build/dev/tests/soak/soak \
    build/dev/examples/vxtool/vxtool "$((minutes * 60))" "${@:2}"

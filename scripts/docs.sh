#!/usr/bin/env bash
# Makes the reference of the public headers, with the guide of docs/, as build/docs/html. Fails on any warning.

source "$(dirname "$0")/lib.sh"

[ $# -eq 0 ] || die "unknown argument \"$1\"; the script takes none"
scripts/setup.sh docs
mkdir -p build/docs
say "Writing the reference to build/docs/html"
{
    cat docs/Doxyfile
    sed -n 's/^ *VERSION \([0-9.]*\)$/PROJECT_NUMBER = \1/p' CMakeLists.txt
    # Public is what includes the export header.
    echo "INPUT = $(grep -rl --include=*.h vxcommon_export.h src/libs | sort | xargs) README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md docs"
} >build/docs/Doxyfile
quietly doxygen build/docs/Doxyfile
say "Open build/docs/html/index.html"

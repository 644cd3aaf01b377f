#!/usr/bin/env bash
# Creates the reference for the public headers, together with the guide in docs/, as build/docs/html and, for Qt
# Creator and Qt Assistant, as build/docs/vxcommon.qch. Links to Qt's classes require Qt's documentation. Fails on any
# warning.

source "$(dirname "$0")/lib.sh"

[ $# -eq 0 ] || die "unknown argument \"$1\"; the script takes none"
scripts/setup.sh docs
mkdir -p build/docs
say "Writing the reference to build/docs/html"
{
    cat docs/Doxyfile
    sed -n 's/^ *VERSION \([0-9.]*\)$/PROJECT_NUMBER = \1/p' CMakeLists.txt
    for tags in "$(qmake6 -query QT_INSTALL_DOCS)"/qt{core,gui,network,widgets}/*.tags; do
        [ ! -e "$tags" ] || echo "TAGFILES += $tags=https://doc.qt.io/qt-6"
    done
    # The public headers are those that include the export header.
    echo "INPUT = $(grep -rl --include=*.h vxcommon_export.h src/libs | sort | xargs) README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md docs"
} >build/docs/Doxyfile
quietly doxygen build/docs/Doxyfile
say "Open build/docs/html/index.html, or add build/docs/vxcommon.qch to Qt Creator's help"

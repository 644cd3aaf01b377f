#!/usr/bin/env bash
# Installs missing packages, builds the library and demonstrates it on real input.
#   scripts/demo.sh         classifies the addresses of an address book and shows the log; downloads and verifies
#                           a file from a local web server; copies and removes a tree of files
#   scripts/demo.sh --gui   shows the miniature softphone or, without a display, takes screenshots of it

source "$(dirname "$0")/lib.sh"

address_book=examples/data/addressbook.txt
log=build/demo/vxtool.log
vxtool=build/release/examples/vxtool/vxtool

case "${1:-}" in
"") ;;
--gui)
    [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] || exec scripts/vxphone-pictures.sh
    scripts/setup.sh demo
    build release --target vxphone
    say "Starting vxphone"
    exec build/release/examples/vxphone/vxphone
    ;;
*) die "unknown argument \"$1\"; the demo takes --gui or nothing" ;;
esac

scripts/setup.sh demo
build release

mkdir -p "$(dirname "$log")"
rm -f "$log"

say "Reading $(wc -l <"$address_book") addresses of $address_book"
"$vxtool" contact --table --columns kind,displayText,number,domain,extension --log "$log" <"$address_book"

say "What they are"
"$vxtool" contact --columns kind <"$address_book" | sort | uniq -c | sort -rn

say "Which of them are SIP identifiers of the service"
"$vxtool" sip check --columns result <"$address_book" | sort | uniq -c | sort -rn || true

say "The log, $log: $(wc -l <"$log") lines, the last of them"
tail -n 5 "$log"

scripts/demo-download.sh
scripts/demo-files.sh

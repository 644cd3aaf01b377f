#!/usr/bin/env bash
# Installs missing packages, builds the library and demonstrates it on real input.
#   scripts/demo.sh         an address book read by the address rules, with the resulting log; a verified
#                           download from a real server; a tree of files copied and removed
#   scripts/demo.sh --gui   the miniature softphone; without a display, screenshots of it

source "$(dirname "$0")/lib.sh"

address_book=examples/data/addressbook.txt
log=build/demo/vxtool.log
vxtool=build/release/examples/vxtool/vxtool

case "${1:-}" in
"") ;;
--gui) exec scripts/demo-gui.sh ;;
*) die "unknown argument \"$1\"; the demo takes --gui or nothing" ;;
esac

scripts/setup.sh demo
say "Configuring and building (release)"
quietly cmake --preset release
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

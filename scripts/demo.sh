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

work=build/demo/files
log=build/demo/files.log
rm -rf "$work" "$log"
mkdir -p "$work/source"
for folder in $(seq -w 40); do
    mkdir -p "$work/source/box$folder/sounds"
    for file in $(seq -w 50); do
        printf 'call %s of box %s\n' "$file" "$folder" >"$work/source/box$folder/sounds/call$file.txt"
    done
    ln -s sounds/call50.txt "$work/source/box$folder/latest"
    ln -s ../readme.txt "$work/source/box$folder/read me"
done
echo "Two thousand calls" >"$work/source/readme.txt"
ln -s nowhere "$work/source/dangling"

count() { find "$1" -type "$2" | wc -l; }
say "A tree of $(count "$work/source" f) files and $(count "$work/source" l) links, copied"
"$vxtool" copy --timing --log "$log" "$work/source" "$work/copy"
diff -r --no-dereference "$work/source" "$work/copy"
say "The copy is the same, links included"

say "A copy onto itself is refused before anything is lost"
file=$work/copy/box01/sounds/call01.txt
"$vxtool" copy "$file" "$file" || true
cat "$file"

say "Both trees removed"
"$vxtool" remove --timing --log "$log" "$work/source" "$work/copy"
[ -z "$(ls -A "$work")" ] || die "something was left in $work"

say "The log, $log"
cat "$log"

#!/usr/bin/env bash
# Part of scripts/demo.sh: copies a tree of 2,000 files and links, compares the copy with the source, and removes both.

source "$(dirname "$0")/lib.sh"

vxtool=build/release/examples/vxtool/vxtool
work=build/demo/files
log=build/demo/files.log

[ $# -eq 0 ] || die "unknown argument \"$1\"; the demo takes none"
[ -x "$vxtool" ] || die "vxtool is not built; run scripts/demo.sh"

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

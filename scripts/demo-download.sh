#!/usr/bin/env bash
# Downloads a file from a local web server and checks its size and MD5 sum. Then downloads a corrupted file, whose
# verification must fail: scripts/demo-download.sh [MEGABYTES]
# The server is nginx with its files in a temporary directory; it is stopped at the end.

source "$(dirname "$0")/lib.sh"

vxtool=build/release/examples/vxtool/vxtool
size=$((${1:-200} * 1000000))

scripts/setup.sh demo
[ -x "$vxtool" ] || build release

dir=$(mktemp -d)
server_pid=
trap 'kill $server_pid 2>/dev/null || true; wait; rm -rf "$dir"' EXIT
trap 'exit 130' INT TERM

say "Making a file of $((size / 1000000)) MB, and a copy with one wrong byte"
mkdir "$dir/root"
head -c "$size" /dev/urandom >"$dir/root/update.bin"
cp "$dir/root/update.bin" "$dir/root/corrupted.bin"
middle=$((size / 2))
byte=$(od -An -tu1 -j $middle -N 1 "$dir/root/corrupted.bin")
printf "\\x$(printf %x $(((byte + 1) % 256)))" |
    dd of="$dir/root/corrupted.bin" bs=1 seek=$middle conv=notrunc status=none
md5=$(md5sum <"$dir/root/update.bin" | cut -d' ' -f1)
chmod -R a+rX "$dir"

fast_server() { echo "sendfile on; server { listen 127.0.0.1:$port; }"; }
serve "$dir" fast_server

say "Downloading it, checked by size and MD5 sum $md5"
"$vxtool" download "http://127.0.0.1:$port/update.bin" "$dir/got/update.bin" --size "$size" --md5 "$md5"
cmp "$dir/root/update.bin" "$dir/got/update.bin"

say "Downloading the corrupted one, which must fail with 900103"
if "$vxtool" download "http://127.0.0.1:$port/corrupted.bin" "$dir/got/update.bin" --size "$size" --md5 "$md5" \
    2>"$dir/complaint"; then
    die "the corrupted download was accepted"
fi
tail -n 1 "$dir/complaint"
grep -q 'error 900103: Download verification failed!' "$dir/complaint"

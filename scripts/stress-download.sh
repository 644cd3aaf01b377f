#!/usr/bin/env bash
# Tests downloads from a local web server that are too large for the test suite. Measures the memory use of a download
# of many GB, and checks that a download beyond the file size limit fails: scripts/stress-download.sh [GIGABYTES]
# Uses the release build. For each GB, takes about 6 s and up to 2 GB of disk space.

source "$(dirname "$0")/lib.sh"

vxtool=$project_dir/build/release/examples/vxtool/vxtool
gigabytes=${1:-5}

if [ -z "${SERVER_ROOT:-}" ]; then
    scripts/setup.sh test
    [ -x "$vxtool" ] || build release
    exec tests/http/with-servers.sh "$0" "$@"
fi

out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
url=http://127.0.0.1:$SERVER_HTTP

# Prints the peak of the private memory of a command, in kB. Mapped files do not count; they are in the page cache.
own_memory_of() {
    local peak=0 now
    "$@" >"$out/stdout" 2>"$out/stderr" &
    local pid=$!
    while now=$(sed -n 's/^RssAnon:[[:space:]]*\([0-9]*\) kB$/\1/p' "/proc/$pid/status" 2>/dev/null) && [ -n "$now" ]; do
        ((now > peak)) && peak=$now
        sleep 0.02
    done
    wait $pid || { cat "$out/stderr" >&2; die "failed: $*"; }
    echo "$peak"
}

say "A file of $gigabytes GB, checked by size and MD5 sum"
size=$((gigabytes * 1000000000))
truncate -s $size "$SERVER_ROOT/sparse.bin"
printf 'end' | dd of="$SERVER_ROOT/sparse.bin" bs=1 seek=$((size - 3)) conv=notrunc status=none
md5=$(md5sum <"$SERVER_ROOT/sparse.bin" | cut -d' ' -f1)
baseline=$(own_memory_of "$vxtool" get "$url/slow" --timeout 30)
peak=$(own_memory_of "$vxtool" download "$url/sparse.bin" "$out/sparse.bin" --size $size --md5 "$md5")
cmp "$SERVER_ROOT/sparse.bin" "$out/sparse.bin"
cat "$out/stdout"
say "Private memory: $((peak / 1024)) MB at most, $(((peak - baseline) / 1024)) MB more than a small request takes"
((peak - baseline < 64 * 1024)) || die "that is too much"
rm -f "$out/sparse.bin" "$SERVER_ROOT/sparse.bin"

say "A file of 40 MB where only 20 MB may be written"
large_md5=$(cat "$SERVER_ROOT/large.md5")
for check in "--size 40000000" "--md5 $large_md5"; do
    # If SIGXFSZ is ignored, the write fails as it would on a full disk.
    # shellcheck disable=SC2086
    if (trap '' XFSZ; ulimit -f 20000; exec "$vxtool" download "$url/large.bin" "$out/large.bin" $check \
        --log "$out/log" --log-level 7) 2>"$out/stderr"; then
        die "a truncated file was accepted"
    fi
    grep 'error 900103: Download verification failed!' "$out/stderr"
    grep -o 'http.download: .*\(Checking download failed.*\|written -1 bytes.\)' "$out/log" | sort | uniq -c | tail -n 3
    rm -f "$out/log"
done

#!/usr/bin/env bash
# Packs and unpacks the same bytes with vxtool and with another program: gzip_exchange.sh VXTOOL gzip|pigz|node PROGRAM

set -euo pipefail

vxtool=$1
kind=$2
program=$3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

other() { # pack|unpack
    case $kind-$1 in
    node-pack) "$program" -e 'process.stdin.pipe(require("zlib").createGzip()).pipe(process.stdout)' ;;
    node-unpack) "$program" -e 'process.stdin.pipe(require("zlib").createGunzip()).pipe(process.stdout)' ;;
    *-pack) "$program" -c ;;
    *-unpack) "$program" -dc ;;
    esac
}

head -c 3000000 /dev/urandom >"$folder/noise"
seq 400000 >"$folder/text"
printf x >"$folder/byte"
for sample in noise text byte; do
    "$vxtool" gzip <"$folder/$sample" | other unpack | cmp - "$folder/$sample"
    other pack <"$folder/$sample" | "$vxtool" gunzip | cmp - "$folder/$sample"
done

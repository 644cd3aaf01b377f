#!/usr/bin/env bash
# Starts nginx on free loopback ports with a temporary directory, runs a command, and stops nginx again:
#   with-servers.sh COMMAND...
# Sets SERVER_HTTP, SERVER_TLS and SERVER_MTLS to the ports and SERVER_ROOT to the served directory. The server at
# SERVER_MTLS requires a client certificate.

source "$(dirname "$0")/../../scripts/lib.sh"

dir=$(mktemp -d)
server_pid=
stop() {
    [ -z "$server_pid" ] || { kill "$server_pid" && wait "$server_pid"; } 2>/dev/null || true
    rm -rf "$dir"
}
trap stop EXIT
trap 'exit 130' INT TERM

root=$dir/root
mkdir -p "$root"
printf 'hello %.0s' {1..100} >"$root/hello.txt"
head -c 40000000 /dev/urandom >"$root/large.bin"
md5sum <"$root/large.bin" | cut -c1-32 | tr -d '\n' >"$root/large.md5"
for name in server client; do
    openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj "/CN=$name" -keyout "$root/$name.key" \
        -out "$root/$name.crt" 2>/dev/null
done
# If root starts the server, its workers run as the user "nobody".
chmod 755 "$dir" "$root" && chmod 644 "$root"/*

servers() {
    cat <<CONF
types { text/plain txt; } default_type application/octet-stream;
gzip on; gzip_min_length 1; gzip_types text/plain;
ssl_certificate $root/server.crt; ssl_certificate_key $root/server.key;
server {
    listen 127.0.0.1:$port;
    location /slow { limit_rate 200; gzip off; try_files /hello.txt =404; }
}
server {
    listen 127.0.0.1:$((port + 1)) ssl;
    location /unsafe { return 302 http://127.0.0.1:$port/hello.txt; }
}
server { listen 127.0.0.1:$((port + 2)) ssl; ssl_client_certificate $root/client.crt; ssl_verify_client on; }
CONF
}
serve "$dir" servers

export SERVER_HTTP=$port SERVER_TLS=$((port + 1)) SERVER_MTLS=$((port + 2)) SERVER_ROOT=$root
"$@"

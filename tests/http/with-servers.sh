#!/usr/bin/env bash
# Starts nginx on free loopback ports and with a temporary folder, runs a command, and stops it again:
#   with-servers.sh COMMAND...
# The command finds the ports in SERVER_HTTP, SERVER_TLS and SERVER_MTLS (wants a client certificate), and the folder
# that is served in SERVER_ROOT.

set -euo pipefail

PATH=$PATH:/usr/sbin # Where nginx is, and not every user looks.
dir=$(mktemp -d)
nginx_pid=
stop() {
    [ -z "$nginx_pid" ] || { kill "$nginx_pid" && wait "$nginx_pid"; } 2>/dev/null || true
    rm -rf "$dir"
}
trap stop EXIT
trap 'exit 130' INT TERM

root=$dir/root
mkdir -p "$root" "$dir/tmp"
printf 'hello %.0s' {1..100} >"$root/hello.txt"
head -c 40000000 /dev/urandom >"$root/large.bin"
md5sum <"$root/large.bin" | cut -c1-32 | tr -d '\n' >"$root/large.md5"
for name in server client; do
    openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj "/CN=$name" -keyout "$root/$name.key" \
        -out "$root/$name.crt" 2>/dev/null
done
# Workers of a server started by root belong to nobody.
chmod 755 "$dir" "$root" && chmod 644 "$root"/*

# The ports are random; a server that finds one of them taken ends and is given others.
for _ in {1..10}; do
    http=$((20000 + RANDOM % 12000)) tls=$((http + 1)) mtls=$((http + 2))
    cat >"$dir/nginx.conf" <<CONF
daemon off;
pid $dir/nginx.pid;
error_log $dir/error.log;
events {}
http {
    access_log off;
    client_body_temp_path $dir/tmp; proxy_temp_path $dir/tmp; fastcgi_temp_path $dir/tmp;
    uwsgi_temp_path $dir/tmp; scgi_temp_path $dir/tmp;
    types { text/plain txt; } default_type application/octet-stream;
    gzip on; gzip_min_length 1; gzip_types text/plain;
    root $root;
    ssl_certificate $root/server.crt; ssl_certificate_key $root/server.key;
    server {
        listen 127.0.0.1:$http;
        location /slow { limit_rate 200; gzip off; try_files /hello.txt =404; }
    }
    server {
        listen 127.0.0.1:$tls ssl;
        location /unsafe { return 302 http://127.0.0.1:$http/hello.txt; }
    }
    server { listen 127.0.0.1:$mtls ssl; ssl_client_certificate $root/client.crt; ssl_verify_client on; }
}
CONF
    nginx -c "$dir/nginx.conf" 2>>"$dir/error.log" & nginx_pid=$!
    # It writes its pid once it listens.
    while [ ! -s "$dir/nginx.pid" ] && kill -0 $nginx_pid 2>/dev/null; do
        sleep 0.1
    done
    [ ! -s "$dir/nginx.pid" ] || break
done
[ -s "$dir/nginx.pid" ] || { cat "$dir/error.log" >&2; echo "nginx did not start" >&2; exit 1; }

export SERVER_HTTP=$http SERVER_TLS=$tls SERVER_MTLS=$mtls SERVER_ROOT=$root
"$@"

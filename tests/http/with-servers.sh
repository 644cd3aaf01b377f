#!/usr/bin/env bash
# Starts nginx and tinyproxy on free loopback ports and with a temporary folder, runs a command, and stops them again:
#   with-servers.sh COMMAND...
# The command finds the ports in SERVER_HTTP, SERVER_TLS, SERVER_MTLS (wants a client certificate), SERVER_PROXY and
# SERVER_AUTH_PROXY (wants user "user" with password "secret"), and the folder that is served in SERVER_ROOT.

set -euo pipefail

dir=$(mktemp -d)
nginx_pid= proxy_pid= auth_proxy_pid=
stop_all() {
    for pid in $nginx_pid $proxy_pid $auth_proxy_pid; do
        kill "$pid" 2>/dev/null && wait "$pid" 2>/dev/null || true
    done
    rm -rf "$dir"
}
trap stop_all EXIT
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

free_ports() { # Random ones; a server that finds its port taken does not start and is given another.
    http=$((20000 + RANDOM % 12000)); tls=$((http + 1)); mtls=$((http + 2)); proxy=$((http + 3)); auth_proxy=$((http + 4))
}

write_configs() {
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
    gzip on; gzip_min_length 1; gzip_proxied any; gzip_types text/plain;
    limit_req_zone \$server_port zone=one:1m rate=1r/m;
    root $root;
    ssl_certificate $root/server.crt; ssl_certificate_key $root/server.key;
    server {
        listen 127.0.0.1:$http;
        location /redirect { return 302 /hello.txt; }
        location /secret { auth_basic "secret"; auth_basic_user_file $dir/none; }
        location /limited { limit_req zone=one; limit_req_status 429; try_files /hello.txt =404; }
        location /slow { limit_rate 200; gzip off; try_files /hello.txt =404; }
    }
    server {
        listen 127.0.0.1:$tls ssl;
        location /unsafe { return 302 http://127.0.0.1:$http/hello.txt; }
    }
    server { listen 127.0.0.1:$mtls ssl; ssl_client_certificate $root/client.crt; ssl_verify_client on; }
}
CONF
    printf 'Port %d\nListen 127.0.0.1\nAllow 127.0.0.1\nMaxClients 20\nTimeout 30\n' "$proxy" >"$dir/proxy.conf"
    printf 'Port %d\nListen 127.0.0.1\nAllow 127.0.0.1\nMaxClients 20\nTimeout 30\nBasicAuth user secret\n' \
        "$auth_proxy" >"$dir/auth-proxy.conf"
}

all_listen() {
    local port
    for port in $http $tls $mtls $proxy $auth_proxy; do
        (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null || return 1
    done
}

for _ in {1..10}; do
    free_ports
    write_configs
    nginx -c "$dir/nginx.conf" 2>>"$dir/error.log" & nginx_pid=$!
    tinyproxy -d -c "$dir/proxy.conf" >"$dir/proxy.log" 2>&1 & proxy_pid=$!
    tinyproxy -d -c "$dir/auth-proxy.conf" >"$dir/proxy.log" 2>&1 & auth_proxy_pid=$!
    for _ in {1..50}; do
        all_listen && break 2
        kill -0 $nginx_pid $proxy_pid $auth_proxy_pid 2>/dev/null || break
        sleep 0.1
    done
    kill $nginx_pid $proxy_pid $auth_proxy_pid 2>/dev/null || true
    wait
done
all_listen || { cat "$dir"/*.log >&2; echo "the servers did not start" >&2; exit 1; }

export SERVER_HTTP=$http SERVER_TLS=$tls SERVER_MTLS=$mtls SERVER_PROXY=$proxy SERVER_AUTH_PROXY=$auth_proxy
export SERVER_ROOT=$root
"$@"

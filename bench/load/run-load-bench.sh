#!/usr/bin/env bash
# Load benchmark: `webstep run` against wrk (the limit) and Locust's
# FastHttpUser on a 200-byte JSON file (web_custom_request) and a 20 KB HTML
# page with 10 links and a form (web_url, Mode=HTTP: the page is scanned, no
# resources fetched), served by nginx on a loopback port; then 1,000 thinking
# users of `webstep run` and their resident memory.
#   bench/load/run-load-bench.sh [BUILD_DIR]      (default: build-bench)
# Environment: LOAD_SECONDS (5), LOAD_WARMUP (1), LOAD_REPS (3),
# LOAD_CONNECTIONS (10), LOAD_THINK_USERS (1000), LOAD_ONLY (all|load|memory),
# LOAD_PIN (1; 0 leaves the server and the clients unpinned).
# Writes the table to BUILD_DIR/load-bench.md as well.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
build=${1:-$root/build-bench}
case "$build" in /*) ;; *) build=$root/$build ;; esac
webstep=$build/cli/webstep
python=/usr/bin/python3

need() { echo "load bench: $1" >&2; exit 1; }
[ -x "$webstep" ] || need "no $webstep: build it first (cmake --build $build --target webstep_cli)"
nginx=$(command -v nginx || true)
[ -n "$nginx" ] || { [ -x /usr/sbin/nginx ] && nginx=/usr/sbin/nginx; }
[ -n "$nginx" ] || need "nginx is missing (Debian package nginx-light, installed by bench/peers/install-peers.sh)"
command -v wrk >/dev/null || need "wrk is missing (Debian package wrk)"
command -v curl >/dev/null || need "curl is missing (Debian package curl)"
command -v taskset >/dev/null || need "taskset is missing (Debian package util-linux)"
[ -x "$python" ] || need "$python is missing"
"$python" -c 'import locust.contrib.fasthttp' 2>/dev/null ||
  need "Locust is missing for $python (Debian package python3-locust)"

cores=$(nproc)
if [ "${LOAD_PIN:-1}" = 0 ]; then
  server_core= client_core=   # not pinned: the scheduler places them
elif [ "$cores" -ge 2 ]; then
  server_core=0 client_core=1
else
  server_core=0 client_core=0
fi
placement="server on core $server_core, clients on core $client_core"
[ -n "$server_core" ] || placement="server and clients not pinned"
server_pin=()
[ -n "$server_core" ] && server_pin=(taskset -c "$server_core")

tmp=$(mktemp -d /tmp/webstep-load.XXXXXX)
nginx_pid=
stop() {
  if [ -n "$nginx_pid" ] && kill -0 "$nginx_pid" 2>/dev/null; then
    kill -QUIT "$nginx_pid" 2>/dev/null || true
    for _ in $(seq 1 50); do kill -0 "$nginx_pid" 2>/dev/null || break; sleep 0.1; done
    kill -KILL "$nginx_pid" 2>/dev/null || true
    wait "$nginx_pid" 2>/dev/null || true
  fi
  rm -rf "$tmp"
}
trap stop EXIT
trap 'exit 130' INT TERM

# A free loopback port (picked by the kernel, then handed to nginx).
port=$("$python" -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1])')
mkdir -p "$tmp/www" "$tmp/temp"
cp "$here/static/api.json" "$here/static/page.html" "$tmp/www/"
user_line=
[ "$(id -u)" -eq 0 ] && user_line="user $(id -un);"
cat >"$tmp/nginx.conf" <<EOF
$user_line
worker_processes 1;
worker_rlimit_nofile 8192;
daemon off;
pid $tmp/nginx.pid;
error_log $tmp/error.log warn;
events { worker_connections 4096; }
http {
  access_log off;
  types { text/html html; application/json json; }
  default_type application/octet-stream;
  sendfile on;
  tcp_nodelay on;
  keepalive_requests 100000000;
  keepalive_timeout 700s;
  client_body_temp_path $tmp/temp/body;
  proxy_temp_path $tmp/temp/proxy;
  fastcgi_temp_path $tmp/temp/fastcgi;
  uwsgi_temp_path $tmp/temp/uwsgi;
  scgi_temp_path $tmp/temp/scgi;
  server {
    listen 127.0.0.1:$port;
    root $tmp/www;
    location = /nginx_status { stub_status; }
  }
}
EOF
"${server_pin[@]}" "$nginx" -e "$tmp/error.log" -p "$tmp" -c "$tmp/nginx.conf" &
nginx_pid=$!
for _ in $(seq 1 100); do
  curl -fs "http://127.0.0.1:$port/nginx_status" >/dev/null 2>&1 && break
  kill -0 "$nginx_pid" 2>/dev/null || need "nginx ended at start: $(cat "$tmp/error.log")"
  sleep 0.1
done
curl -fs "http://127.0.0.1:$port/api.json" >/dev/null || need "nginx does not serve on port $port"

load=$(cut -d' ' -f1-3 /proc/loadavg)
model=$(sed -n 's/^model name[[:space:]]*: //p' /proc/cpuinfo | head -1)
machine="$cores cores ($model), load average $load at the start, $(uname -r)"
echo "load bench: nginx $("$nginx" -v 2>&1 | sed 's/.*nginx\///') on 127.0.0.1:$port, $placement"
echo "load bench: $machine"

if [ "${LOAD_ONLY:-all}" = profile ]; then
  # Where webstep's time goes in the JSON case: perf samples (cpu-clock, so
  # it works without hardware counters) of the run and its forked worker.
  command -v perf >/dev/null || need "perf is missing (Debian package linux-perf)"
  perf record -e cpu-clock -F 2000 -g -o "$tmp/perf.data" -- \
    ${client_core:+taskset -c "$client_core"} "$webstep" run "$here/json" --users "${LOAD_CONNECTIONS:-10}" \
    --workers 1 --think-time none --duration "${LOAD_SECONDS:-5}s" --json \
    --connect-to "bench.local:80:127.0.0.1:$port" >"$tmp/profile.json" 2>"$tmp/profile.err" ||
    need "the profiled run failed: $(cat "$tmp/profile.err")"
  echo "load bench: profiled run: $(cat "$tmp/profile.json" | head -c 200)"
  report() {
    perf report -i "$tmp/perf.data" --stdio --no-children -g none "$@" 2>/dev/null |
      grep -v '^#' | grep -v '^$' | sed 's/[[:space:]-]*$//'
  }
  if [ -n "${LOAD_PROFILE_KEEP:-}" ]; then cp "$tmp/perf.data" "$LOAD_PROFILE_KEEP"; fi
  echo "== by library (self time, all processes of the run)"
  report --sort comm,dso | head -20 || true
  echo "== system calls and what they include (time inside)"
  perf report -i "$tmp/perf.data" --stdio --children -g none --sort symbol 2>/dev/null |
    sed 's/[[:space:]-]*$//' | grep -E '^ +[0-9].*\] (__x64_sys_[a-z_0-9]+|schedule|handle_softirqs)$' |
    head -15 || true
  echo "== by function (self time)"
  report --sort dso,symbol | head -"${LOAD_PROFILE_LINES:-40}" || true
  exit 0
fi

"$python" "$here/measure.py" --port "$port" --nginx-pid "$nginx_pid" --webstep "$webstep" \
  --python "$python" --here "$here" --tmp "$tmp" --out "$build/load-bench.md" \
  --seconds "${LOAD_SECONDS:-5}" --warmup "${LOAD_WARMUP:-1}" --reps "${LOAD_REPS:-3}" \
  --connections "${LOAD_CONNECTIONS:-10}" --think-users "${LOAD_THINK_USERS:-1000}" \
  --client-core "$client_core" --server-core "$server_core" --machine "$machine" \
  --only "${LOAD_ONLY:-all}"
echo "load bench: load average $(cut -d' ' -f1-3 /proc/loadavg) at the end"

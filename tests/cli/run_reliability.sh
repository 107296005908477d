#!/usr/bin/env bash
# webstep run against a server that misbehaves: a reset connection, a stall
# past the timeout, a 500, a truncated chunked body, garbage that is not
# HTTP, 100 MB: each costs its step only, with a message, and the run goes
# on to the next step (continue-on-error) and ends normally.
source "$(dirname "$0")/common.bash" "$@"
export PYTHONDONTWRITEBYTECODE=1

server_pid=
stop_server() {
  if [ -n "$server_pid" ]; then kill "$server_pid" 2>/dev/null || true; wait "$server_pid" 2>/dev/null || true; fi
  rm -rf "$work"
}
trap stop_server EXIT
python3 tests/replay/http_test_server.py >"$work/server.out" 2>"$work/server.err" &
server_pid=$!
port=
for _ in $(seq 1 100); do
  port=$(sed -n 's/^PORT //p' "$work/server.out")
  [ -n "$port" ] && break
  kill -0 "$server_pid" 2>/dev/null || fail "the test server ended at start: $(cat "$work/server.err")"
  sleep 0.1
done
[ -n "$port" ] || fail "the test server did not say its port"

dir=$work/flaky
mkdir -p "$dir"
base=http://127.0.0.1:$port
printf '[WEB]\nReceiveTimeout=2\n[General]\nContinueOnError=1\n' > "$dir/default.cfg"
cat > "$dir/Action.c" <<C
Action()
{
    web_url("reset", "URL=$base/reset", "Mode=HTTP", LAST);
    web_url("stall", "URL=$base/stall?s=6", "Mode=HTTP", LAST);
    web_url("error", "URL=$base/status?code=500", "Mode=HTTP", LAST);
    web_url("truncated", "URL=$base/truncated", "Mode=HTTP", LAST);
    web_url("garbage", "URL=$base/garbage", "Mode=HTTP", LAST);
    web_url("huge", "URL=$base/huge?mb=100", "Mode=HTTP", LAST);
    web_url("fine", "URL=$base/echo", "Mode=HTTP", LAST);
    return 0;
}
C
set +e
timeout 120 "$tool" run "$dir" --users 1 --iterations 1 --think-time none --json \
  >"$work/summary.json" 2>"$work/err"
rc=$?
set -e
[ $rc -eq 1 ] || fail "exit $rc, not 1 (steps failed): $(cat "$work/err") $(cat "$work/summary.json")"
python3 - "$work/summary.json" <<'PY' || fail "summary: $(cat "$work/summary.json")"
import json, sys
s = json.load(open(sys.argv[1]))
steps = {row["step"]: row for row in s["steps"]}
# Every step sent its request; only the last one was answered well.
for name in ("reset", "stall", "truncated", "garbage", "huge"):
    assert steps[name]["failed"] == 1, (name, steps[name])
assert steps["error"]["5xx"] == 1, steps["error"]
assert steps["fine"]["2xx"] == 1, steps["fine"]
messages = " | ".join(e["message"] for e in s["errors"])
for words in ("reset", "no answer within", "HTTP status 500", "chunked", "not HTTP", "larger than"):
    assert words in messages, (words, messages)
assert s["users_failed"] == 0, s
PY
echo ok

#!/usr/bin/env bash
# webstep run against the example's live server: many users pass every
# transaction and the results, report and HAR files hold the run; a wrong
# save rule fails plainly; usage errors exit with 2; SIGTERM lets users run
# their end action and the results are written whole, a second stops at once;
# SIGKILL leaves no half-written results file.
source "$(dirname "$0")/common.bash" "$@"
export PYTHONDONTWRITEBYTECODE=1

server_pid=
stop_server() {
  if [ -n "$server_pid" ]; then kill "$server_pid" 2>/dev/null || true; wait "$server_pid" 2>/dev/null || true; fi
  rm -rf "$work"
}
trap stop_server EXIT
python3 examples/library-loans/server/server.py --tls --port 0 >"$work/server.out" 2>"$work/server.err" &
server_pid=$!
port=
for _ in $(seq 1 100); do
  port=$(sed -n 's/^listening on 127\.0\.0\.1://p' "$work/server.out")
  [ -n "$port" ] && break
  kill -0 "$server_pid" 2>/dev/null || fail "the server ended at start: $(cat "$work/server.err")"
  sleep 0.1
done
[ -n "$port" ] || fail "the server did not say its port"
aim=(--connect-to "loans.example.org:443:127.0.0.1:$port" --insecure)
expect() { grep -qF -- "$1" <<<"$2" || fail "missing: $1
in:
$2"; }

# Three users, one iteration, no think time: every transaction passes.
set +e
"$tool" run examples/library-loans --users 3 --iterations 1 --think-time none "${aim[@]}" \
  --results "$work/r.json" --report "$work/r.html" --har "$work/r.har" --json \
  >"$work/summary.json" 2>"$work/err"
rc=$?
set -e
[ $rc -eq 0 ] || fail "exit $rc: $(cat "$work/err") $(cat "$work/summary.json")"
python3 - "$work/summary.json" "$work/r.json" "$work/r.har" "$work/r.html" <<'PY' || fail "run files"
import json, sys
summary = json.load(open(sys.argv[1]))
names = {t["name"]: t for t in summary["transactions"]}
assert set(names) == {"sign_in", "my_loans", "search", "renew"}, names
assert all(t["failed"] == 0 and t["passed"] > 0 for t in names.values()), names
assert names["sign_in"]["passed"] == 3 and names["my_loans"]["passed"] == 3, names
assert summary["users_started"] == 3 and summary["users_failed"] == 0, summary
assert summary["errors"] == [] and summary["failed"] is False, summary
results = json.load(open(sys.argv[2]))
requests = [e for e in results["events"] if e["type"] == "request"]
assert len(requests) == summary["requests"] > 0, (len(requests), summary["requests"])
assert {r["user"] for r in requests} == {1, 2, 3}
assert all(r["status"] in (200, 201, 302) for r in requests), {r["status"] for r in requests}
# The end action ran for every user: its sign-out step.
assert sum(1 for r in requests if r["step"] == "Sign out") == 3
har = json.load(open(sys.argv[3]))
assert har["log"]["version"] == "1.2"
assert len(har["log"]["entries"]) == len(requests)
page = open(sys.argv[4], encoding="utf-8").read()
assert "<svg" in page or "<script" in page and "sign_in" in page
PY

# The text form: the table and where the files are.
out=$("$tool" run examples/library-loans --users 2 --iterations 1 --think-time none "${aim[@]}" \
  --report "$work/t.html" 2>"$work/err") || fail "text run: exit $?: $(cat "$work/err")"
expect "transaction  count  passed  failed" "$out"
expect "report: $work/t.html" "$out"
[ -s "$work/t.html" ] || fail "no report"

# A wrong save rule: the correlation fails plainly, exit 1.
set +e
out=$("$tool" run examples/library-loans-wrong-save --users 2 --iterations 1 --think-time none \
  "${aim[@]}" 2>"$work/err")
rc=$?
set -e
[ $rc -eq 1 ] || fail "wrong save rule: exit $rc, not 1"
expect "web_reg_save_param csrf: nothing found" "$out"

# Usage and set-up errors: exit 2 with a message naming what was expected.
usage() {
  local want=$1; shift
  set +e
  "$tool" run "$@" >"$work/out" 2>"$work/err"
  local rc=$?
  set -e
  [ $rc -eq 2 ] || fail "run $*: exit $rc, not 2"
  grep -qF -- "$want" "$work/err" || fail "run $*: no \"$want\" in: $(cat "$work/err")"
}
usage "is not a duration" examples/library-loans --ramp-up soon
usage "not both" examples/library-loans --iterations 2 --duration 5s
usage "--users must be 1 or more" examples/library-loans --users 0
usage "connect-to" examples/library-loans --connect-to nonsense
usage "think" examples/library-loans --think-time sometimes
usage "$work/none" "$work/none"

# SIGTERM: users finish their step, run their end action; the results are
# whole. Recorded think time keeps the users busy long enough to be stopped.
"$tool" run examples/library-loans --users 2 --duration 60s "${aim[@]}" \
  --results "$work/term.json" >"$work/term.out" 2>"$work/term.err" &
run=$!
for _ in $(seq 1 100); do
  grep -q "users over" "$work/term.err" && break
  sleep 0.1
done
sleep 2
kill -TERM $run
set +e
timeout 30 tail --pid=$run -f /dev/null
wait $run
rc=$?
set -e
[ $rc -le 1 ] || fail "SIGTERM: exit $rc: $(cat "$work/term.err")"
python3 - "$work/term.json" <<'PY' || fail "results after SIGTERM"
import json, sys
results = json.load(open(sys.argv[1]))
steps = [e["step"] for e in results["events"] if e["type"] == "request"]
assert steps.count("Sign out") == 2, steps
PY

# Twice: at once, and still a whole file.
"$tool" run examples/library-loans --users 2 --duration 60s "${aim[@]}" \
  --results "$work/twice.json" >"$work/twice.out" 2>"$work/twice.err" &
run=$!
sleep 2
kill -TERM $run
sleep 0.2
kill -TERM $run 2>/dev/null || true
set +e
timeout 15 tail --pid=$run -f /dev/null || fail "a second SIGTERM did not stop the run"
wait $run
set -e
python3 -c 'import json,sys; json.load(open(sys.argv[1]))' "$work/twice.json" ||
  fail "results after two SIGTERMs are not whole"

# SIGKILL: no time to write; the results file is not there at all.
"$tool" run examples/library-loans --users 2 --duration 60s "${aim[@]}" \
  --results "$work/kill.json" >/dev/null 2>&1 &
run=$!
sleep 2
kill -KILL $run
wait $run 2>/dev/null || true
# Its workers do not outlive it.
for _ in $(seq 1 50); do
  pgrep -f -- "$work/kill.json" >/dev/null || break
  sleep 0.1
done
if pgrep -f -- "$work/kill.json" >/dev/null; then
  pkill -KILL -f -- "$work/kill.json" || true
  fail "workers outlived a killed run"
fi
[ ! -e "$work/kill.json" ] || python3 -c 'import json,sys; json.load(open(sys.argv[1]))' "$work/kill.json" ||
  fail "SIGKILL left a half-written results file"
echo ok

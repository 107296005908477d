#!/usr/bin/env bash
# The library-loans example as a Locust user over a master and two workers on
# loopback, against the example's live server: the stats CSV lists every
# transaction of the example without a failure, and a worker killed half way
# (SIGKILL) is reported gone by the master while the run finishes with the
# other.
#
# Usage: locust_distributed.sh <build>/python   (exit 77: skipped)
set -uo pipefail

PACKAGE_DIR=${1:?usage: locust_distributed.sh BUILD/python}
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
PYTHON=${WEBSTEP_PYTHON:-/usr/bin/python3}
LOCUST=/usr/bin/locust

if [[ ! -x $LOCUST ]]; then
    echo "SKIP: $LOCUST is not installed (Debian: python3-locust)" >&2
    exit 77
fi
PACKAGE_DIR=$(cd "$PACKAGE_DIR" 2>/dev/null && pwd) || {
    echo "SKIP: the Python package webstep is not built in $1" >&2
    exit 77
}
if ! PYTHONPATH=$PACKAGE_DIR "$PYTHON" -c 'import webstep' 2>/dev/null; then
    echo "SKIP: the Python package webstep is not built in $PACKAGE_DIR" >&2
    exit 77
fi

WORK=$(mktemp -d "${TMPDIR:-/tmp}/webstep-locust.XXXXXX")
GROUPS_STARTED=()
cleanup() {
    local group i
    for group in "${GROUPS_STARTED[@]}"; do
        kill -TERM -- "-$group" 2>/dev/null
    done
    for ((i = 0; i < 30; i++)); do
        for group in "${GROUPS_STARTED[@]}"; do
            kill -0 -- "-$group" 2>/dev/null && break
        done || break
        sleep 0.1
    done
    for group in "${GROUPS_STARTED[@]}"; do
        kill -KILL -- "-$group" 2>/dev/null
    done
    { wait; } 2>/dev/null
    rm -rf "$WORK"
}
trap cleanup EXIT
trap 'exit 1' INT TERM

fail() {
    echo "FAIL: $*" >&2
    for log in "$WORK"/*.log; do
        [[ -f $log ]] || continue
        echo "---- $(basename "$log") (last lines)" >&2
        tail -n 40 "$log" >&2
    done
    exit 1
}

# Each process in a process group of its own, so that the trap ends it whole.
start() {
    local log=$1
    shift
    setsid "$@" >"$WORK/$log" 2>&1 &
    GROUPS_STARTED+=("$!")
    LAST_PID=$!
}

# Waits up to $2 seconds for the text $3 in the log $1.
wait_for() {
    local log=$1 seconds=$2 text=$3 waited=0
    while ((waited < seconds * 10)); do
        [[ -f $WORK/$log ]] && [[ $(<"$WORK/$log") == *"$text"* ]] && return 0
        sleep 0.1
        waited=$((waited + 1))
    done
    return 1
}

start server.log "$PYTHON" "$ROOT/examples/library-loans/server/server.py" --tls --port 0
wait_for server.log 30 "listening on" || fail "the example server did not start"
SERVER_PORT=$(grep -o 'listening on [^ ]*' "$WORK/server.log" | head -n 1 | sed 's/.*://')

MASTER_PORT=$("$PYTHON" -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')

cat >"$WORK/locustfile.py" <<EOF
import logging

from webstep.locust import ScriptUser


class LibraryUser(ScriptUser):
    script = "$ROOT/examples/library-loans"
    connect_to = ["loans.example.org:443:127.0.0.1:$SERVER_PORT"]
    insecure = True

    def on_start(self):
        super().on_start()
        # For the check of the numbers below.
        logging.getLogger("webstep").info("user number %d of %d", self.user_number,
                                          self._user_count())
EOF

export PYTHONPATH=$PACKAGE_DIR
cd "$WORK" || exit 1
start master.log "$LOCUST" -f locustfile.py --master --master-bind-host 127.0.0.1 \
    --master-bind-port "$MASTER_PORT" --headless --expect-workers 2 -u 20 -r 10 -t 20s \
    --csv "$WORK/run" --loglevel INFO
MASTER_PID=$LAST_PID
start worker1.log "$LOCUST" -f locustfile.py --worker --master-host 127.0.0.1 \
    --master-port "$MASTER_PORT"
start worker2.log "$LOCUST" -f locustfile.py --worker --master-host 127.0.0.1 \
    --master-port "$MASTER_PORT"
WORKER2_PID=$LAST_PID

wait_for master.log 60 "Sending spawn jobs" || fail "the master did not start the run"
# Half way through the 20 s.
sleep 10
kill -KILL "$WORKER2_PID" || fail "the second worker was gone before it was killed"
{ wait "$WORKER2_PID"; } 2>/dev/null  # reaped quietly (bash would say "Killed")
wait_for master.log 20 "failed to send heartbeat" || fail "the master did not report the lost worker"

# The run finishes with the first worker.
for ((i = 0; i < 900; i++)); do
    kill -0 "$MASTER_PID" 2>/dev/null || break
    sleep 0.1
done
kill -0 "$MASTER_PID" 2>/dev/null && fail "the master did not end within 90 s of the kill"
wait "$MASTER_PID"
echo "master exit status $?"

STATS=$WORK/run_stats.csv
[[ -s $STATS ]] || fail "no $STATS"
"$PYTHON" - "$STATS" <<'EOF' || fail "the statistics are not as expected"
import csv
import sys

rows = list(csv.DictReader(open(sys.argv[1])))
transactions = {row["Name"]: row for row in rows if row["Type"] == "TRANSACTION"}
problems = []
for name in ("sign_in", "my_loans", "search", "renew"):
    row = transactions.get(name)
    if row is None:
        problems.append(f"transaction {name} is missing")
    elif int(row["Request Count"]) == 0:
        problems.append(f"transaction {name} never ended")
for row in rows:
    if int(row["Failure Count"]) != 0:
        problems.append(f"{row['Type']} {row['Name']}: {row['Failure Count']} failures")
methods = {row["Type"] for row in rows}
if not {"GET", "POST"} <= methods:
    problems.append(f"requests by method missing: {sorted(methods)}")
for row in rows:
    print(f"{row['Type']:12} {row['Name']:20} {row['Request Count']:>6} {row['Failure Count']:>4}"
          f" {row['Average Response Time']:>10}")
if problems:
    print("\n".join(problems), file=sys.stderr)
    sys.exit(1)
EOF
grep -q "Traceback" "$WORK/worker1.log" && fail "the first worker raised an exception"
# User numbers: 1..20 over both workers, no number twice, the automatic
# unique blocks shared by the run's 20 users.
numbers() { grep -o 'user number [0-9]* of 20$' "$WORK/$1" | awk '{print $3}' | sort -n | tr '\n' ' '; }
FIRST=$(numbers worker1.log)
SECOND=$(numbers worker2.log)
ALL=$(echo $FIRST $SECOND | tr ' ' '\n' | sort -n | tr '\n' ' ')
echo "worker 1 users: $FIRST"
echo "worker 2 users: $SECOND"
[[ $ALL == "$(seq -s ' ' 1 20) " ]] || fail "the user numbers are not 1..20 once each: $ALL"
echo "PASS: a master and two workers ran the example; the lost worker was reported"

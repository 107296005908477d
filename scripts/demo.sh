#!/usr/bin/env bash
# The main job on the shipped examples.
set -euo pipefail
tool=${1:-build/cli/webstep}
cd "$(dirname "$0")/.."

sample=examples/escape/request-body.bin
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

echo "== $("$tool" --version)"
echo "== escape $sample ($(wc -c < "$sample") bytes) into script text:"
"$tool" escape < "$sample" | tee "$work/escaped.txt"
echo
echo "== does it need escaping?"
"$tool" escape --check < "$sample" || true
echo "== unescape the script text again:"
"$tool" unescape < "$work/escaped.txt" > "$work/roundtrip.bin"
if cmp -s "$sample" "$work/roundtrip.bin"; then
  echo "round trip: identical ($(wc -c < "$work/roundtrip.bin") bytes)"
else
  echo "round trip: DIFFERENT" >&2
  exit 1
fi

example=examples/library-loans
echo
echo "== lint $example (every step call through the parsers):"
"$tool" lint --lang en "$example"
echo
echo "== steps of $example (the step objects the parsers build, in script order):"
"$tool" steps "$example/init.c" "$example/loans.c" "$example/end.c"
echo
echo "== settings of $example (its WEB section):"
"$tool" settings "$example/default.cfg"
echo
echo "== page model of the frameset page and of the search frame:"
"$tool" page "$example/data/t4.html"
"$tool" page "$example/data/t4f1.html"
echo
echo "== the body of the sign-in form, filled as the script fills it:"
"$tool" form "$example/data/t1.html" --item card=12345 --item pin=0000
echo
echo "== a link of the page resolved against the page's address:"
"$tool" url combine http://library.example.org/account/loans ../catalogue/search?q=dune

echo
echo "== replay $example offline: one virtual user, every request answered from"
echo "== the recording and compared with the request that was recorded"
"$tool" replay --offline "$example"

echo
echo "== webstep inspect --compare on the example folders: the plan of a replay"
echo "== against the recording, step by step: the request, the link or form it"
echo "== picks, the frames, and whether that request is the one recorded"
for folder in "$example" examples/northfield-branches; do
  "$tool" inspect --compare "$folder"
  echo
done

# The main job last, so that it is what stays on the screen: the example run
# live against its own small server (Python's standard library, HTTPS on a
# loopback port it picks), the recorded host aimed at it. The demo fails when
# a transaction fails.
server_log=$work/server.out
python3 "$example/server/server.py" --tls --port 0 > "$server_log" 2>&1 &
server=$!
trap 'kill "$server" 2>/dev/null; wait "$server" 2>/dev/null; rm -rf "$work"' EXIT
port=
for _ in $(seq 1 100); do
  port=$(sed -n 's/^listening on 127\.0\.0\.1://p' "$server_log")
  [ -n "$port" ] && break
  kill -0 "$server" 2>/dev/null || break
  sleep 0.1
done
if [ -z "$port" ]; then
  echo "the example server did not start:" >&2
  cat "$server_log" >&2
  exit 1
fi
mkdir -p out
aim=(--connect-to "loans.example.org:443:127.0.0.1:$port" --insecure)

echo
echo "== a variant with a wrong save rule, live with 2 users: the failed"
echo "== correlation is named in the errors (this run is meant to fail)"
set +e
"$tool" run examples/library-loans-wrong-save --users 2 --iterations 1 --think-time none \
  "${aim[@]}" 2>&1 | sed -n '/^Errors by message/,$p'
set -e

echo
echo "=================================================================="
echo "== THE MAIN JOB: webstep run $example live: 10 virtual users, 3"
echo "== iterations each, over worker processes, against the example server"
echo "== on 127.0.0.1:$port (the recorded host aimed at it)"
echo "=================================================================="
"$tool" run "$example" --users 10 --iterations 3 "${aim[@]}" \
  --report out/demo-report.html --results out/demo-results.json --har out/demo.har
echo
echo "Open out/demo-report.html in a browser for the plots."

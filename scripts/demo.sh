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

# The main job last, so that it is what stays on the screen: it exits with
# 1 (and the demo fails) when a step of the example cannot be resolved.
echo
echo "=================================================================="
echo "== THE MAIN JOB: webstep inspect --compare on the example folders"
echo "== every navigation step with the request a replay would send, the"
echo "== link or form it picks in the page recorded before it, the frames,"
echo "== and whether that request is the one the recording holds"
echo "=================================================================="
for folder in "$example" examples/northfield-branches; do
  "$tool" inspect --compare "$folder"
  echo
done

#!/usr/bin/env bash
# lint gives exactly the expected error code (or none) for every call of the
# step-call corpus whose outcome is settled, read in a UTF-8 process code page
# whatever each folder's own encoding is. A call with arguments that are not
# literals is settled as its source text would be parsed: lint reports that
# refusal as a run-time-value note (the code in its "error" label) instead of
# an error. web_get_int_property's HTTP_INFO_TOTAL_REQUEST_STAT and
# HTTP_INFO_TOTAL_RESPONSE_STAT, refused by the table of three, are accepted
# in the default (extended) mode.
source "$(dirname "$0")/common.bash" "$@"
need_script_corpus expected.jsonl

set +e
LC_ALL=C.UTF-8 "$tool" lint --json "$corpus" > "$work/lint.json"
rc=$?
set -e
[ $rc -eq 1 ] || fail "lint over the corpus: exit $rc (errors are expected)"

python3 - "$corpus" "$work/lint.json" <<'PY'
import bisect, collections, json, os, sys

root, report = sys.argv[1], json.load(open(sys.argv[2]))
calls = collections.defaultdict(list)
for line in open(os.path.join(root, "expected.jsonl"), encoding="utf-8"):
    call = json.loads(line)
    calls[call["file"]].append(call)
for listed in calls.values():
    listed.sort(key=lambda c: c["line"])

# An error is reported at its call or at an argument of it: it belongs to the
# last call of its file that starts on or before its line.
codes = collections.defaultdict(list)
notes = collections.defaultdict(list)
for finding in report["diagnostics"]:
    runtime = finding["code"] == "run-time-value"
    if finding["severity"] != "error" and not runtime:
        continue
    name = os.path.relpath(finding["file"], root)
    listed = calls.get(name, [])
    i = bisect.bisect_right([c["line"] for c in listed], finding["line"]) - 1
    if i < 0:
        print(f"{name}:{finding['line']}: error {finding['code']} outside any listed call")
        sys.exit(1)
    if runtime:
        code = [l["value"] for l in finding["labels"] if l["label"] == "error"]
        notes[(name, listed[i]["line"])].append(int(code[0]))
    else:
        codes[(name, listed[i]["line"])].append(int(finding["code"]))

TOTAL_STATS = ("HTTP_INFO_TOTAL_REQUEST_STAT", "HTTP_INFO_TOTAL_RESPONSE_STAT")
checked, differences, as_notes = 0, [], 0
for name, listed in calls.items():
    for call in listed:
        expect = call["expect"]
        opaque = expect == "expr"
        if opaque:
            expect = call.get("expect_as_text")
        if expect in ("unsettled", "extended", None):
            continue
        want = [] if expect == "ok" else [expect["error"]]
        first = call["args"][0] if call["args"] else None
        if isinstance(first, dict):
            first = first.get("expr")
        if call["function"] == "web_get_int_property" and first in TOTAL_STATS:
            want = []
        key = (name, call["line"])
        have = codes.get(key, [])
        if opaque and not have and notes.get(key):
            have = notes[key]
            as_notes += 1
        elif notes.get(key):
            differences.append(f"{name}:{call['line']} {call['function']}: run-time note "
                               f"{notes[key]} beside errors {have}")
        checked += 1
        if have != want:
            differences.append(f"{name}:{call['line']} {call['function']}: expected {want}, lint gave {have}")

print(f"{checked} settled calls checked ({as_notes} refused through a run-time value, "
      f"reported as notes), {len(differences)} differ")
for d in differences[:20]:
    print(d)
if checked < 20000 or differences:
    sys.exit(1)
PY

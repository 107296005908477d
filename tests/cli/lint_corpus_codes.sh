#!/usr/bin/env bash
# lint gives exactly the expected error code (or none) for every call of the
# step-call corpus whose outcome is settled, read in a UTF-8 process code page
# whatever each folder's own encoding is.
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
for finding in report["diagnostics"]:
    if finding["severity"] != "error":
        continue
    name = os.path.relpath(finding["file"], root)
    listed = calls.get(name, [])
    i = bisect.bisect_right([c["line"] for c in listed], finding["line"]) - 1
    if i < 0:
        print(f"{name}:{finding['line']}: error {finding['code']} outside any listed call")
        sys.exit(1)
    codes[(name, listed[i]["line"])].append(int(finding["code"]))

checked, differences = 0, []
for name, listed in calls.items():
    for call in listed:
        expect = call["expect"]
        if expect == "expr":
            expect = call.get("expect_as_text")
        if expect in ("unsettled", "extended", None):
            continue
        want = [] if expect == "ok" else [expect["error"]]
        have = codes.get((name, call["line"]), [])
        checked += 1
        if have != want:
            differences.append(f"{name}:{call['line']} {call['function']}: expected {want}, lint gave {have}")

print(f"{checked} settled calls checked, {len(differences)} differ")
for d in differences[:20]:
    print(d)
if checked < 20000 or differences:
    sys.exit(1)
PY

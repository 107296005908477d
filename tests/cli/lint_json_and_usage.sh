#!/usr/bin/env bash
# --json gives the findings and summary as JSON; missing paths and usage
# errors exit with 2.
source "$(dirname "$0")/common.bash" "$@"

printf 'A()\n{\n    web_url();\n    web_url("ok", "URL=http://e.com/", LAST);\n    web_bar(1);\n}\n' > "$work/a.c"
set +e
"$tool" lint --json --lang en "$work/a.c" > "$work/out.json"
rc=$?
set -e
[ $rc -eq 1 ] || fail "JSON run exit $rc"
python3 -m json.tool "$work/out.json" > /dev/null || fail "lint JSON does not parse"
python3 - "$work/out.json" "$work/a.c" <<'PY' || fail "lint JSON content"
import json, sys
doc = json.load(open(sys.argv[1]))
s = doc["summary"]
assert (s["files"], s["calls"], s["errors"], s["warnings"], s["notes"]) == (1, 2, 1, 1, 0), s
d = doc["diagnostics"]
assert d[0] == {"file": sys.argv[2], "line": 3, "column": 5, "severity": "error", "code": "1009",
                "message": "Statement specified incorrectly, no arguments supplied",
                "function": "web_url", "labels": []}, d[0]
assert d[1]["severity"] == "warning" and d[1]["code"] == "unknown-function", d[1]
assert doc["io_errors"] == []
PY
# The Chinese messages are UTF-8 in JSON whatever the process code page.
for cp in 65001 936; do
  WEBSTEP_CODEPAGE=$cp "$tool" lint --json "$work/a.c" > "$work/zh.json" || true
  python3 -c 'import json,sys; d=json.load(open(sys.argv[1], encoding="utf-8")); assert d["diagnostics"][0]["message"] == "语句指定错误，未提供参数", d' "$work/zh.json" || fail "zh JSON in code page $cp"
done

# A missing path: exit 2 and a message naming it; the other paths are still read.
set +e
out=$("$tool" lint "$work/a.c" "$work/missing-folder" 2> "$work/err")
rc=$?
set -e
[ $rc -eq 2 ] || fail "missing path exit $rc"
grep -qF "cannot read \"$work/missing-folder\": no such file or folder" "$work/err" || fail "message: $(cat "$work/err")"
grep -qx '1 file, 2 calls: 1 error, 1 warning, 0 notes' <<<"$out" || fail "other path not read: $out"
set +e
"$tool" lint --json "$work/missing-folder" > "$work/missing.json" 2> /dev/null
rc=$?
set -e
[ $rc -eq 2 ] || fail "missing path with --json exit $rc"
python3 -c 'import json,sys; d=json.load(open(sys.argv[1])); assert len(d["io_errors"]) == 1' "$work/missing.json" || fail "io_errors"

# Usage errors.
for args in "lint" "lint --lang fr $work/a.c" "lint --bogus $work/a.c"; do
  set +e
  $tool $args > /dev/null 2>&1
  rc=$?
  set -e
  [ $rc -eq 2 ] || fail "usage error '$args' exit $rc"
done
# An empty file and an empty folder are clean.
: > "$work/empty.c"
mkdir "$work/none"
[ "$("$tool" lint "$work/empty.c")" = "1 file, 0 calls: 0 errors, 0 warnings, 0 notes" ] || fail "empty file"
[ "$("$tool" lint "$work/none")" = "0 files, 0 calls: 0 errors, 0 warnings, 0 notes" ] || fail "empty folder"
echo "lint JSON and usage: all checks passed"

#!/usr/bin/env bash
# The steps command lists every call in script order with the class of its
# step object; --json gives the same as JSON.
source "$(dirname "$0")/common.bash" "$@"

out=$("$tool" steps examples/library-loans/end.c) || fail "steps exit $?"
expected="== examples/library-loans/end.c (3 calls)
examples/library-loans/end.c:4:2: web_url \"account\" (CWebStepUrl)
examples/library-loans/end.c:13:2: web_reg_find \"Text=You have signed out\" (CWebStepRegFind)
examples/library-loans/end.c:15:2: web_link \"Sign out\" (CWebStepLink)"
[ "$(grep -v '^    ' <<<"$out")" = "$expected" ] || fail "steps of end.c:
$out"

# The whole folder: files in name order, runtime calls kept in place.
out=$("$tool" steps examples/library-loans) || fail "folder exit $?"
[ "$(grep '^== ' <<<"$out")" = "== examples/library-loans/end.c (3 calls)
== examples/library-loans/init.c (9 calls)
== examples/library-loans/loans.c (17 calls)" ] || fail "file order: $out"
grep -qF 'loans.c:22:2: qz_think_time(4)' <<<"$out" || fail "think time"
grep -qF 'loans.c:33:2: web_submit_form "search" (CWebStepSubmitForm)' <<<"$out" || fail "submit form"
grep -qF 'loans.c:50:2: web_submit_data "renew" (CWebStepSubmitData)' <<<"$out" || fail "submit data"
grep -qF 'loans.c:65:2: web_custom_request "reminder" (CWebStepCustomRequest)' <<<"$out" || fail "custom"
grep -qF 'init.c:7:2: web_set_max_html_param_len "2048" (CWebStepSetMaxHtmlParamLen)' <<<"$out" || fail "len"

"$tool" steps --json examples/library-loans > "$work/steps.json" || fail "json exit $?"
python3 -m json.tool "$work/steps.json" > /dev/null || fail "steps JSON does not parse"
python3 - "$work/steps.json" <<'PY' || fail "steps JSON content"
import json, sys
doc = json.load(open(sys.argv[1]))
files = doc["files"]
assert [f["file"].rsplit("/", 1)[1] for f in files] == ["end.c", "init.c", "loans.c"]
loans = files[2]["entries"]
kinds = [e["kind"] for e in loans]
assert kinds[:5] == ["start-transaction", "step", "step", "end-transaction", "think-time"], kinds
steps = [e for f in files for e in f["entries"] if e["kind"] == "step"]
assert len(steps) == 19, len(steps)
for e in steps:
    assert e["fields"]["class"] == e["class"], e
    assert "error" not in e, e
lines = [e["line"] for e in loans]
assert lines == sorted(lines), lines
think = [e for e in loans if e["kind"] == "think-time"][0]
assert think["arguments"] == [{"kind": "expression", "value": "4"}] or think["arguments"][0]["value"] == "4", think
PY

# A step that does not parse is shown with its error; exit 1.
printf 'A() { web_url(); web_nope("x"); }\n' > "$work/bad.c"
set +e
out=$("$tool" steps "$work/bad.c")
rc=$?
set -e
[ $rc -eq 1 ] || fail "failed step exit $rc"
grep -qF "$work/bad.c:1:7: web_url \"\": not parsed: error 1009: Statement specified incorrectly, no arguments supplied" <<<"$out" || fail "error line: $out"
grep -qF "$work/bad.c:1:18: web_nope(\"x\")  [unknown function, not parsed]" <<<"$out" || fail "unknown: $out"

set +e
"$tool" steps "$work/nothing.c" 2> "$work/err"
rc=$?
set -e
[ $rc -eq 2 ] || fail "missing file exit $rc"
grep -qF 'webstep steps: cannot read' "$work/err" || fail "missing file message"
echo "steps listing: all checks passed"

#!/usr/bin/env bash
# A step refused because of an argument that is not a literal (a variable, a
# function call) is a note "cannot be checked before run time", not an error;
# a refusal that stands on the literals alone stays an error. The total request
# and response sizes of web_get_int_property are accepted by default and
# refused with --spec-only.
source "$(dirname "$0")/common.bash" "$@"

cat > "$work/rt.c" <<'C'
Action()
{
    web_reg_save_param("p", sLB, "RB=y", LAST);
    web_custom_request("c", "URL=http://e.com/", "Method=POST", qz_eval_string("{body}"), LAST);
    web_url("u", sUrl, LAST);
    web_submit_data("s", "Action=http://e.com/", "Method=POST", sItems, LAST);
    web_url("d", "URL=http://e.com/", "URL=http://f.com/", sMore, LAST);
    web_set_max_html_param_len(sLen, "2");
    web_get_int_property(HTTP_INFO_TOTAL_REQUEST_STAT);
    web_get_int_property(HTTP_INFO_TOTAL_RESPONSE_STAT);
    web_get_int_property(HTTP_INFO_BOGUS);
    web_get_int_property(HTTP_INFO_RETURN_CODE);
}
C
f="$work/rt.c"
set +e
en=$("$tool" lint --lang en "$f")
rc=$?
spec=$("$tool" lint --lang en --spec-only "$f")
set -e
expect() { grep -qxF -- "$1" <<<"$2" || fail "missing line: $1
in:
$2"; }
absent() { ! grep -qF -- "$1" <<<"$2" || fail "unexpected: $1
in:
$2"; }

note="note run-time-value: cannot be checked before run time:"
# The refused argument is a variable, a call or a whole data list.
expect "$f:3:29: $note Syntax error in an attribute [text=sLB argument=2 error=1002]" "$en"
expect "$f:4:65: $note Syntax error in an attribute [text=\"qz_eval_string(\\\"{body}\\\")\" argument=4 error=1002]" "$en"
expect "$f:5:18: $note Syntax error in an attribute [text=sUrl argument=2 error=1002]" "$en"
expect "$f:6:65: $note Syntax error in an attribute [text=sItems argument=4 error=1002]" "$en"
# Literals refused whatever the variable holds: still errors.
expect "$f:7:39: error 1012: Attribute value specified more than once [attribute=URL argument=3]" "$en"
expect "$f:8:5: error 1010: Unexpected argument encountered" "$en"
for line in 3 4 5 6; do absent "$f:$line:" "$(grep -F ': error ' <<<"$en")"; done

# The property names are macros, not run-time values: no note, and a name
# outside the table is an error.
absent "text=HTTP_INFO_TOTAL" "$en"
expect "$f:11:5: error 1003: Invalid value specified for an attribute [attribute=HttpInfoType text=HTTP_INFO_BOGUS]" "$en"
absent "$f:12:" "$en"
[ $rc -eq 1 ] || fail "errors found but exit $rc"
summary=$(tail -n 1 <<<"$en")
[[ $summary =~ ^1\ file,\ 10\ calls:\ 3\ errors,\ 0\ warnings,\ 10\ notes$ ]] || fail "summary: $summary"

# --spec-only keeps the table of three.
expect "$f:9:5: error 1003: Invalid value specified for an attribute [attribute=HttpInfoType text=HTTP_INFO_TOTAL_REQUEST_STAT]" "$spec"
expect "$f:10:5: error 1003: Invalid value specified for an attribute [attribute=HttpInfoType text=HTTP_INFO_TOTAL_RESPONSE_STAT]" "$spec"
absent "$f:12:" "$spec"

# JSON: the note carries the message and the parser's error code as a label.
json=$("$tool" lint --json --lang en "$f" || true)
python3 - "$json" <<'PY' || fail "json: $json"
import json, sys
d = json.loads(sys.argv[1])
notes = [x for x in d["diagnostics"] if x["code"] == "run-time-value"]
assert len(notes) == 4, notes
assert all(x["severity"] == "note" for x in notes)
assert all(x["message"].startswith("cannot be checked before run time: ") for x in notes)
assert all({"label": "error", "value": "1002"} in x["labels"] for x in notes)
assert d["summary"]["errors"] == 3, d["summary"]
PY

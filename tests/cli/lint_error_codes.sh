#!/usr/bin/env bash
# Every error code the step parsers give comes out as one line with its
# message and the error's details as labels, at the call or at the argument
# the error names.
source "$(dirname "$0")/common.bash" "$@"

cat > "$work/codes.c" <<'C'
Action()
{
    web_url("a", "Snapshot=t1.inf", LAST);
    web_url("r", "URL=http://example.com/", EXTRARES, "Url=/a.css", ENDITEM, ITEMDATA, LAST);
    web_url("c", "URL=http://example.com/", "NoEquals", LAST);
    web_find("f", "What=x", "Expect={ExpectFound}", LAST);
    web_url("d", "URL=http://example.com/", "Resource=maybe", LAST);
    web_find("m", "What=x", "MatchCase=maybe", LAST);
    web_set_max_html_param_len("abc");
    web_set_proxy("");
    web_set_max_html_param_len();
    web_url();
    web_cleanup_cookies("x");
    web_submit_data("e", "Action=http://example.com/", "Method=POST", ITEMDATA, "Name=a", "Value=1", LAST);
    web_url("u", "URL=http://example.com/", "URL=http://example.com/x", LAST);
    web_submit_data("g", "Action=http://example.com/", "Method=POST", ITEMDATA, "Name=a", "Value=1", ENDITEM);
    web_submit_data("h", "Action=http://example.com/", "Method=PUTX", ITEMDATA, "Name=a", "Value=1", ENDITEM, LAST);
    web_global_verification("Text=", LAST);
}
C
set +e
out=$("$tool" lint --lang en "$work/codes.c")
rc=$?
set -e
[ $rc -eq 1 ] || fail "exit $rc"
f="$work/codes.c"
expect() { grep -qxF -- "$f:$1" <<<"$out" || fail "missing line: $f:$1
in:
$out"; }
expect '3:5: error 1000: A required attribute is missing [text=URL]'
expect '4:78: error 1001: Unrecognized keyword [text=ITEMDATA record=2 argument=6 context="resource table"]'
expect '5:45: error 1002: Syntax error in an attribute [text=NoEquals argument=3]'
expect '6:5: error 1003: Invalid value specified for an attribute [attribute=Expect text={ExpectFound}]'
expect '7:5: error 1004: Syntax error in a boolean value [text=maybe]'
expect '8:5: error 1005: Syntax error in a Yes/No value [text=maybe]'
expect '9:5: error 1006: Syntax error in a number [text=abc]'
expect '10:5: error 1007: Syntax error in a URL specification [text=""]'
expect '11:5: error 1008: A required argument is missing'
expect '12:5: error 1009: Statement specified incorrectly, no arguments supplied'
expect '13:5: error 1010: Unexpected argument encountered'
expect '14:102: error 1011: Unexpected end of statement encountered [record=1 argument=7 context="data table"]'
expect '15:45: error 1012: Attribute value specified more than once [attribute=URL argument=3]'
expect '16:5: error 1013: No valid terminator found in the statement'
expect '17:5: error 1014: Invalid method specified in the SUBMIT directive [text=PUTX]'
expect '18:5: error 1015: Specify a non-empty value either for "Text" alone or for both "TextPfx" and "TextSfx"'
[ "$(tail -n 1 <<<"$out")" = "1 file, 16 calls: 16 errors, 0 warnings, 0 notes" ] || fail "summary: $(tail -n 1 <<<"$out")"

# The same errors in the message table's own texts (UTF-8 process code page).
zh=$(WEBSTEP_CODEPAGE=65001 "$tool" lint "$work/codes.c" || true)
grep -qxF "$f:3:5: error 1000: 缺少请求的属性 [text=URL]" <<<"$zh" || fail "zh 1000"
grep -qxF "$f:17:5: error 1014: 在 SUBMIT 指令中指定的方法无效 [text=PUTX]" <<<"$zh" || fail "zh 1014"

# JSON keeps the labels in order, values as texts.
"$tool" lint --json --lang en "$work/codes.c" > "$work/codes.json" || true
python3 - "$work/codes.json" <<'PY' || fail "JSON labels"
import json, sys
d = json.load(open(sys.argv[1]))["diagnostics"]
assert [x["code"] for x in d] == [str(c) for c in range(1000, 1016)], [x["code"] for x in d]
one = d[1]
assert one["line"] == 4 and one["column"] == 78, one
assert one["labels"] == [{"label": "text", "value": "ITEMDATA"}, {"label": "record", "value": "2"},
                         {"label": "argument", "value": "6"},
                         {"label": "context", "value": "resource table"}], one
PY
echo "lint error codes: all checks passed"

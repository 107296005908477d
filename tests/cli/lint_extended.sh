#!/usr/bin/env bash
# The extended function set: lint and steps check the calls of current script
# versions by default and report them as unknown with --spec-only; a web_
# function that neither set knows is an unknown function; adjacent literals
# that each look like Name=Value and a used step value are warned about; the
# section keywords of extended calls get no note.
source "$(dirname "$0")/common.bash" "$@"

cat > "$work/ext.c" <<'C'
Action()
{
    web_reg_save_param_ex("ParamName=Csrf", "LB/IC=name=\"csrf\" value=\"", "RB=\"",
        SEARCH_FILTERS, "Scope=Body", LAST);
    web_rest("quote", "URL=https://api.example.com/q", "Method=POST",
        HEADERS, "Name=Accept", "Value=application/json", ENDHEADER, LAST);
    web_js_run("Code=1+1;", "ResultParam=Two", SOURCES, "File=a.js", ENDITEM, LAST);
    web_frobnicate("x", LAST);
    web_reg_save_param_json("ParamName=T", "QueryString=total", LAST);
    web_url("home", "URL=http://example.com/", "Resource=0"
        "RecContentType=text/html", LAST);
    if (web_url("next", "URL=http://example.com/next", LAST) != 0)
        return -1;
    web_url("body", "URL=http://example.com/?a=1&"
        "b=2", LAST);
    rc = web_stop_async("ID=Poll_0", LAST);
    return 0;
}
C
f="$work/ext.c"

set +e
out=$("$tool" lint --lang en "$f")
rc=$?
spec=$("$tool" lint --lang en --spec-only "$f")
set -e
[ $rc -eq 1 ] || fail "errors were found but exit $rc"
expect() { grep -qxF -- "$1" <<<"$2" || fail "missing line: $1
in:
$2"; }
absent() { ! grep -qF -- "$1" <<<"$2" || fail "unexpected: $1
in:
$2"; }

# Extended calls are checked: the good ones are silent, the bad one refused
# (and the merged attributes make a bad Resource value).
absent "unknown function web_reg_save_param_ex" "$out"
absent "unknown function web_rest" "$out"
absent "unknown function web_js_run" "$out"
absent "not-a-literal" "$out"
expect "$f:8:5: warning unknown-function: unknown function web_frobnicate, not checked" "$out"
grep -qE "^$f:9:5: error 1003: .*\[attribute=QueryString text=total\]$" <<<"$out" \
    || fail "bad JSON path not refused: $out"

# Two attributes merged by a missing comma, pointed at the second literal.
grep -qE "^$f:11:9: warning merged-attributes: argument 2 joins adjacent literals" <<<"$out" \
    || fail "merged attributes not warned: $out"
# A query split over two literals is one value, not two attributes.
absent "$f:15:9: warning merged-attributes" "$out"
# Values used: compared in a condition, assigned.
expect "$f:12:9: warning return-value-used: the value of web_url is used (assigned, compared, tested or passed on); only the step is checked" "$out"
grep -qE "^$f:16:10: warning return-value-used: the value of web_stop_async" <<<"$out" \
    || fail "assigned value not warned: $out"
absent "$f:3:5: warning return-value-used" "$out"
grep -qE "^1 file, 8 calls: 2 errors, 4 warnings, 0 notes$" <<<"$out" || fail "summary: $out"

# With --spec-only the extended calls are unknown functions and their
# arguments are not looked at.
expect "$f:3:5: warning unknown-function: unknown function web_reg_save_param_ex, not checked" "$spec"
expect "$f:5:5: warning unknown-function: unknown function web_rest, not checked" "$spec"
absent "error 1003" "$spec"

# steps lists the extended steps with their class and fields.
set +e
steps=$("$tool" steps --json "$f")
set -e
grep -qF '"class": "CWebStepRegSaveParamEx"' <<<"$steps" || fail "no save rule step: $steps"
grep -qF '"class": "CWebStepRest"' <<<"$steps" || fail "no REST step: $steps"
grep -qF '"class": "CWebStepJsRun"' <<<"$steps" || fail "no JavaScript step: $steps"
grep -qF '"sources": [' <<<"$steps" || fail "no sources: $steps"
set +e
specSteps=$("$tool" steps --json --spec-only "$f")
set -e
absent '"class": "CWebStepRest"' "$specSteps"

# The generated corpus: no extended function is unknown, none is refused.
corpus=../shared/corpus/scripts
if [ -d "$corpus" ]; then
    set +e
    all=$("$tool" lint --json "$corpus")
    set -e
    names='web_reg_save_param_(ex|regexp|json|xpath|attrib)|web_reg_async_attributes|web_stop_async|web_save_timestamp_param|web_rest|web_js_run'
    if grep -qE "\"function\": \"($names)\"" <<<"$all"; then
        fail "findings for extended calls of the corpus"
    fi
    grep -qF '"code": "unknown-function"' <<<"$all" && fail "unknown functions in the corpus"
    grep -qE '"warnings": [0-9]+' <<<"$all" || fail "no summary"
else
    fail "shared corpus missing: $corpus (expected beside the project root)"
fi
echo ok

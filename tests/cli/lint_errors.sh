#!/usr/bin/env bash
# Each problem is one line in the compiler form, errors in the message table's
# texts (the process code page, or English with --lang en), and the exit
# status says whether errors were found.
source "$(dirname "$0")/common.bash" "$@"

cat > "$work/bad.c" <<'C'
Action()
{
    web_set_max_html_param_len();
    web_set_max_html_param_len("1", "2");
    web_url();
    web_cleanup_cookies("x");
    web_foo("x", LAST);
    web_url("f", "URL=http://example.com/", url_var, LAST);
    web_link("g", "Text=open, LAST);
    web_url("h", "URL=http://example.com/", LAST);
    web_url();
}
C

set +e
out=$(WEBSTEP_CODEPAGE=65001 "$tool" lint "$work/bad.c")
rc=$?
en=$("$tool" lint --lang en "$work/bad.c")
set -e
[ $rc -eq 1 ] || fail "errors found but exit $rc"
f="$work/bad.c"

expect() { grep -qxF -- "$1" <<<"$2" || fail "missing line: $1
in:
$2"; }
expect "$f:3:5: error 1008: 缺少请求的参数" "$out"
expect "$f:4:5: error 1010: 遇到非预期参数" "$out"
expect "$f:5:5: error 1009: 语句指定错误，未提供参数" "$out"
expect "$f:6:5: error 1010: 遇到非预期参数" "$out"
expect "$f:3:5: error 1008: A required argument is missing" "$en"
expect "$f:5:5: error 1009: Statement specified incorrectly, no arguments supplied" "$en"
expect "$f:7:5: warning unknown-function: unknown function web_foo, not checked" "$en"
expect "$f:8:45: note not-a-literal: argument 2 is not a literal; checked as its source text [text=url_var]" "$en"
# A refusal of an argument that is not a literal is a note at that argument:
# its value exists only at run time.
expect "$f:8:45: note run-time-value: cannot be checked before run time: Syntax error in an attribute [text=url_var argument=3 error=1002]" "$en"

# A broken line is reported with its position and the next call is still read.
grep -qE "^$f:9:[0-9]+: warning unterminated-string: " <<<"$en" || fail "unterminated string: $en"
# The open literal runs to the line end, so the call is not closed before the
# ";" of the next line; the call after that is checked again.
grep -qE "^$f:10:[0-9]+: warning call-not-closed: .*\[call=\"web_link at 9:5\"\]$" <<<"$en" || fail "call label: $en"
expect "$f:11:5: error 1009: Statement specified incorrectly, no arguments supplied" "$en"

# Every finding line has the one form; lines come in text order.
grep -v '^[0-9]* files\?, ' <<<"$en" | while IFS= read -r line; do
  [[ $line =~ ^[^:]+:[0-9]+:[0-9]+:\ (error\ [0-9]{4}|warning\ [a-z-]+|note\ [a-z-]+):\ .+$ ]] ||
    fail "malformed line: $line"
done
lines=$(grep -o "^$f:[0-9]*" <<<"$en" | cut -d: -f2)
[ "$lines" = "$(sort -n <<<"$lines")" ] || fail "findings out of order"
summary=$(tail -n 1 <<<"$en")
[[ $summary =~ ^1\ file,\ 7\ calls:\ 5\ errors,\ [0-9]+\ warnings,\ 2\ notes$ ]] || fail "summary: $summary"

# In a double-byte code page the same message comes as GBK bytes.
if command -v iconv > /dev/null; then
  gbk=$(printf '缺少请求的参数' | iconv -f UTF-8 -t GBK)
  out936=$(WEBSTEP_CODEPAGE=936 "$tool" lint "$work/bad.c" || true)
  grep -qF -- "$f:3:5: error 1008: $gbk" <<<"$out936" || fail "GBK message"
fi

# A label value with spaces or quotes is quoted with C escapes.
printf 'A() { web_url("a", "URL=http://e.com/", a + "b", LAST); }\n' > "$work/q.c"
qout=$("$tool" lint --lang en "$work/q.c" || true)
grep -qF '[text="a + \"b\""]' <<<"$qout" || fail "quoted label: $qout"
echo "lint error lines: all checks passed"

#!/usr/bin/env bash
# webstep compile: the examples compile (the recording tool's headers stood
# in for with a note), a second run comes from the cache, a folder whose C
# does not compile exits 2 with the compiler's own file:line:col messages,
# and a folder that is not there exits 2.
source "$(dirname "$0")/common.bash" "$@"
export WEBSTEP_CACHE_DIR=$work/cache

out=$("$tool" compile examples/northfield-branches) || fail "exit $? on northfield-branches"
grep -qF 'globals.h:6: note: "web_api.h" is not in the folder: webstep'"'"'s runtime header stands in for it' <<<"$out" ||
  fail "no note for web_api.h in: $out"
grep -qF '"qz_runtime.h" is not in the folder' <<<"$out" || fail "no note for qz_runtime.h in: $out"
grep -qE '^compiled 6 actions \(init, browse, reserve, my_loans, renew_all, end\) into .*/script\.so$' <<<"$out" ||
  fail "no summary in: $out"
out=$("$tool" compile examples/northfield-branches) || fail "exit $? on the second run"
grep -qF '(from the cache)' <<<"$out" || fail "not from the cache: $out"
"$tool" compile examples/library-loans >/dev/null || fail "exit $? on library-loans"

# C that does not compile.
mkdir -p "$work/broken"
cp examples/library-loans/*.usr examples/library-loans/*.usp examples/library-loans/*.cfg "$work/broken/"
printf 'init()\n{\n\treturn 0;\n}\n' > "$work/broken/init.c"
printf 'end()\n{\n\treturn 0;\n}\n' > "$work/broken/end.c"
printf 'loans()\n{\n\tint x = ;\n\treturn 0;\n}\n' > "$work/broken/loans.c"
set +e
err=$("$tool" compile "$work/broken" 2>&1 >/dev/null)
code=$?
set -e
[ "$code" = 2 ] || fail "exit $code on C that does not compile (want 2): $err"
grep -qE "$work/broken/loans.c:3:[0-9]+: error" <<<"$err" || fail "no compiler message in: $err"
grep -qF "the C does not compile" <<<"$err" || fail "no summary in: $err"

set +e
"$tool" compile "$work/missing" 2>/dev/null
code=$?
set -e
[ "$code" = 2 ] || fail "exit $code on a missing folder (want 2)"
echo ok

#!/usr/bin/env bash
# The form subcommand prints the body a form submission sends.
source "$(dirname "$0")/common.bash" "$@"
pages=examples/library-loans/data

out=$("$tool" form "$pages/t1.html" --default)
grep -qx 'action: /signin' <<<"$out" || fail "action: $out"
grep -qx 'method: POST' <<<"$out" || fail "method"
grep -qx 'csrf=7f3c9a1e5b2d4680&card=&pin=&remember=1&go=Sign+in' <<<"$out" || fail "default body: $out"

out=$("$tool" form "$pages/t1.html" --item card=12345 --item 'pin=00 0&')
grep -q 'card=12345' <<<"$out" || fail "item not set: $out"
grep -q 'pin=00+0%26' <<<"$out" || fail "value not URL-encoded: $out"
grep -q 'csrf=7f3c9a1e5b2d4680' <<<"$out" || fail "hidden field not sent"

out=$("$tool" form "$pages/t4f1.html" --action results --item q=dune --item format=Book)
grep -qx 'method: GET' <<<"$out" || fail "lower-case get: $out"
grep -q 'q=dune' <<<"$out" || fail "search text"
grep -q 'format=Book' <<<"$out" || fail "select option"

# Items the form cannot take are refused with exit 1 and a reason.
if "$tool" form "$pages/t1.html" --item nosuch=1 2> "$work/err"; then fail "unknown field accepted"; fi
grep -q 'do not fit' "$work/err" || fail "no reason for a misfit"
if "$tool" form "$pages/t4f1.html" --item format=Vinyl 2> /dev/null; then fail "missing option accepted"; fi
if "$tool" form "$pages/t1.html" --form 3 2> "$work/err"; then fail "form 3 of 1 accepted"; fi
grep -q 'has 1 form' "$work/err" || fail "no message for a missing form"
if "$tool" form "$pages/t1.html" --action nowhere 2> /dev/null; then fail "unknown action accepted"; fi
if "$tool" form "$pages/t1.html" --item novalue 2> /dev/null; then fail "item without = accepted"; fi
if "$tool" form "$pages/t2.html" 2> "$work/err"; then fail "page without forms accepted"; fi
grep -q 'no form' "$work/err" || fail "no message for a page without forms"
if "$tool" form "$work/absent.html" 2> /dev/null; then fail "missing page accepted"; fi
echo "form command: all checks passed"

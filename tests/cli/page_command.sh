#!/usr/bin/env bash
# The page subcommand prints the model of a page, as text and as JSON.
source "$(dirname "$0")/common.bash" "$@"

cat > "$work/login.html" <<'HTML'
<html><head><title>Patron login</title><base href="http://library.example.org/patron/"></head>
<body>
<form name="login" action="session" method="post">
  <input type="text" name="card" value="">
  <input type=password name=pin>
  <input type="hidden" name="token" value="a1b2">
  <select name="branch"><option value="c">Central<option value="n" selected>North</select>
  <input type="radio" name="remember" value="y" checked><input type="radio" name="remember" value="n">
  <input type="submit" name="go" value="Log in">
</form>
<a href="help.html">Help</a> <img src="logo.gif" alt="logo">
<map name="m"><area href="a.html" alt="A"></map>
</body></html>
HTML

"$tool" page "$work/login.html" > "$work/out.txt" || fail "page exited non-zero"
grep -q 'Patron login' "$work/out.txt" || fail "title missing"
grep -q 'session' "$work/out.txt" || fail "form action missing"
grep -q 'token' "$work/out.txt" || fail "hidden field missing"
grep -q 'help.html' "$work/out.txt" || fail "link missing"
grep -q 'logo.gif' "$work/out.txt" || fail "image link missing"

"$tool" page --json "$work/login.html" > "$work/out.json"
python3 - "$work/out.json" <<'PY' || fail "JSON model"
import json, sys
page = json.load(open(sys.argv[1]))
text = json.dumps(page)
assert "Patron login" in text, "title"
assert "card" in text and "pin" in text and "branch" in text, "elements"
assert "a.html" in text, "map link"
PY

# Fed in pieces, a page larger than one piece gives the same model.
{ head -c 40000 /dev/zero | tr '\0' ' '; cat "$work/login.html"; } > "$work/big.html"
"$tool" page --json "$work/big.html" | python3 -c 'import json,sys; t=json.dumps(json.load(sys.stdin)); assert "session" in t and "help.html" in t' \
  || fail "page larger than a piece"

if "$tool" page "$work/absent.html" 2> "$work/err"; then fail "missing file accepted"; fi
grep -q 'cannot read' "$work/err" || fail "no message for a missing file"
echo "page command: all checks passed"

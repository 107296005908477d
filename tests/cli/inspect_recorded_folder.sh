#!/usr/bin/env bash
# inspect on folders as the recording tool saves them: the folder description
# and run logic give the order, tN.inf the pages and frames, parameters resolve
# addresses, --compare matches each planned request against the snapshot XML;
# broken or missing files are warnings and the inspection goes on.
source "$(dirname "$0")/common.bash" "$@"

expect() { grep -qF -- "$1" <<<"$2" || fail "missing: $1
in:
$2"; }

# The examples: every recorded request planned exactly.
out=$("$tool" inspect --compare examples/library-loans 2>&1) || fail "library-loans: exit $?
$out"
expect "10 steps with a recorded request: 10 planned exactly as recorded, 0 different" "$out"
expect "recorded: the same request PatronPin=\"4071\"" "$out"
expect "recorded: the same request loanId=\"L-40211\" csrf=\"7f3c9a1e5b2d4680\"" "$out"
[ "$(grep '^== ' <<<"$out" | tr '\n' ' ')" = "== examples/library-loans == init.c == loans.c == end.c " ] ||
  fail "order: $(grep '^== ' <<<"$out")"

out=$("$tool" inspect --compare examples/northfield-branches 2>&1) || fail "northfield: exit $?
$out"
expect "16 steps with a recorded request: 16 planned exactly as recorded, 0 different" "$out"
# Addresses that need a parameter: shown as written, with the values used.
expect "      GET {BaseUrl}/branches/list" "$out"
expect "      parameters (user 1, iteration 1): BaseUrl=https://branches.example.org" "$out"
expect "        resolved: https://branches.example.org/branches/list" "$out"
# A frameset recorded three levels deep, its files named by tN.inf.
expect "        frame 1.2.2.1 \"filter\": data/t5f1f1f0.htm" "$out"
expect "in data/t5f1f1f0.htm (frame 1.2.2.1 \"filter\")" "$out"
# A step recorded without a snapshot XML file.
expect "recorded: no request to compare (the recording holds no request for this step)" "$out"
# The run logic's order: init, every action of the random run group, end.
[ "$(grep '^== ' <<<"$out" | tr '\n' ' ')" = "== examples/northfield-branches == init.c == browse.c == reserve.c == my_loans.c == renew_all.c == end.c " ] ||
  fail "order: $(grep '^== ' <<<"$out")"
# --order still wins.
out=$("$tool" inspect --order end.c examples/northfield-branches 2>&1) || true
[ "$(grep -c '^== ' <<<"$out")" = 2 ] || fail "--order: $(grep '^== ' <<<"$out")"

"$tool" inspect --compare --json examples/northfield-branches > "$work/nb.json" || fail "--json exit $?"
python3 - "$work/nb.json" <<'PY' || fail "JSON form"
import json, sys
d = json.load(open(sys.argv[1]))
s = d["summary"]
assert s["recorded_requests"] == 16 and s["planned_exactly"] == 16, s
assert d["messages"] == [], d["messages"]
steps = [e for f in d["files"] for e in f["entries"] if e["kind"] == "navigation"]
home = steps[0]
assert home["request"]["url"] == "{BaseUrl}/", home["request"]
assert home["request"]["resolved_url"] == "https://branches.example.org/", home["request"]
assert home["parameters"]["values"] == [{"name": "BaseUrl", "value": "https://branches.example.org"}]
assert home["recorded"]["same"] is True
assert all(e["recorded"]["recorded"] is False or e["recorded"]["same"] for e in steps)
PY

# A copy to spoil.
cp -r examples/library-loans "$work/f"
f=$work/f

# A request that differs from the recording: named plainly, exit 1.
sed -i 's#url="https://loans.example.org/account/loans/renew"#url="https://loans.example.org/account/loans/renew2"#' \
  "$f/data/snapshot_6.xml"
set +e
out=$("$tool" inspect --compare "$f" 2>&1); status=$?
set -e
[ "$status" = 1 ] || fail "a differing request: exit $status"
expect "recorded: DIFFERENT: url differs at byte 45" "$out"
expect "  recorded POST https://loans.example.org/account/loans/renew2" "$out"
expect "10 steps with a recorded request: 9 planned exactly as recorded, 1 different" "$out"
cp examples/library-loans/data/snapshot_6.xml "$f/data/"

# Truncated XML: that snapshot counts as not recorded, a warning names file and line.
head -c 2000 examples/library-loans/data/snapshot_3.xml > "$f/data/snapshot_3.xml"
# A missing table: references stay as written, one warning naming the file.
rm "$f/patrons.dat"
# A tN.inf naming a file that does not exist.
printf 'FileName2=t9_gone.png\r\nURL2=https://loans.example.org/gone.png\r\n' >> "$f/data/t9.inf"
sed -i 's/^Total=1/Total=2/' "$f/data/t9.inf"
# No run logic: the description's order.
rm "$f/default.usp"
out=$("$tool" inspect --compare "$f" 2>"$work/err") || fail "spoiled folder: exit $?
$out
$(cat "$work/err")"
err=$(cat "$work/err")
expect "snapshot_3.xml:" "$err"
expect "patrons.dat" "$err"
expect "t9_gone.png" "$err"
expect "$f/default.usp: warning: the run-logic file does not exist" "$err"
[ "$(grep -c 'patrons.dat' <<<"$err")" = 1 ] || fail "one warning for the table: $err"
expect "9 steps with a recorded request: 9 planned exactly as recorded, 0 different" "$out"
expect "pin={PatronPin}" "$out"
[ "$(grep '^== ' <<<"$out" | tr '\n' ' ')" = "== $f == init.c == loans.c == end.c " ] ||
  fail "fallback order: $(grep '^== ' <<<"$out")"

# Garbage everywhere: no crash, no hang.
g=$work/g
mkdir -p "$g/data"
head -c 3000 /dev/urandom > "$g/g.usr"
printf '\r\n[Actions]\r\nAction=Action.c\r\n' >> "$g/g.usr"
printf 'Action() { web_url("x", "URL={Base}/a", "Snapshot=t1.inf", LAST); return 0; }\n' > "$g/Action.c"
head -c 3000 /dev/urandom > "$g/g.prm"
head -c 3000 /dev/urandom > "$g/data/t1.inf"
printf '<HTTPSnapshot><HTTPTask origin="Primary" url="x"><HTTPRequest method="GET"><HTTPBody><HTTPDataSet><HTTPData><ActualData>@@@' > "$g/data/snapshot_1.xml"
set +e
timeout 60 "$tool" inspect --compare "$g" > "$work/g.out" 2>&1; status=$?
set -e
[ "$status" -le 2 ] || fail "garbage folder: exit $status
$(cat "$work/g.out")"

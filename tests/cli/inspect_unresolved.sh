#!/usr/bin/env bash
# inspect lists what a replay against the recording plans and says plainly
# what cannot be resolved (no page before, a page not recorded, a link or
# form that is not there, an item the form refuses, a call that does not
# parse, broken C) and goes on with the next step; a step that fails leaves
# the page as it was; usage and I/O errors exit with 2; the progress line is
# for terminals only.
source "$(dirname "$0")/common.bash" "$@"
dir=$work/shop
mkdir -p "$dir/data"

cat > "$dir/vuser_init.c" <<'C'
vuser_init()
{
    web_link("too early", "Text=Home", "Snapshot=t0.inf", LAST);
    return 0;
}
C
cat > "$dir/action.c" <<'C'
Action()
{
    web_url("start", "URL=http://shop.example.com/a/", "Snapshot=t1.inf", LAST);
    web_link("gone", "Text=Nowhere", "Snapshot=t2.inf", LAST);
    web_link("after gone", "Text=Order", "Snapshot=t9.inf", LAST);
    web_link("after missing", "Text=Anything", "Snapshot=t10.inf", LAST);
    web_url("order page", "URL=http://shop.example.com/a/order", "Snapshot=t3.inf", LAST);
    web_submit_form("buy", "Snapshot=t4.inf",
        ITEMDATA, "Name=colour", "Value=purple", ENDITEM, LAST);
    web_url("order again", "URL=http://shop.example.com/a/order", "Snapshot=t3.inf", LAST);
    web_submit_form("buy size", "Snapshot=t4.inf",
        ITEMDATA, "Name=size", "Value=L", ENDITEM, LAST);
    web_url("no url", "Snapshot=t5.inf", LAST);
    web_url("broken", "URL=http://shop.example.com/x
    web_url("after broken", "URL=http://shop.example.com/after", LAST);
    web_submit_data("find", "Action=/a/find", "Method=GET",
        ITEMDATA, "Name=q", "Value=red shoes", ENDITEM, "Name=sid", "Value={Sid}", ENDITEM, LAST);
    return 0;
}
C
cat > "$dir/vuser_end.c" <<'C'
vuser_end()
{
    web_url("home", "URL=http://shop.example.com/a/", "Snapshot=t1.inf", LAST);
    web_image("banner", "Src=banner.png", "Snapshot=t7.inf", LAST);
    web_url("home again", "URL=http://shop.example.com/a/", "Snapshot=t1.inf", LAST);
    web_image("logo", "Alt=Shop logo", "Snapshot=t6.inf", LAST);
    return 0;
}
C
cat > "$dir/data/t1.html" <<'H'
<html><head><title>Shop</title></head><body>
<a href="/"><img src="/img/logo.png" alt="Shop logo"></a>
<img src="/img/banner.png" alt="Sale">
<a href="order">Order</a>
</body></html>
H
cat > "$dir/data/t3.html" <<'H'
<html><body><form name="order" action="/a/buy" method="post">
<select name="colour"><option>red</option><option>green</option></select>
<input type="submit" value="Buy">
</form></body></html>
H

set +e
out=$("$tool" inspect "$dir" 2>"$work/err")
rc=$?
set -e
[ $rc -eq 1 ] || fail "exit $rc, not 1, when steps are not resolved"
[ ! -s "$work/err" ] || fail "stderr not empty (no terminal, no progress): $(cat "$work/err")"
expect() { grep -qF -- "$1" <<<"$out" || fail "missing: $1
in:
$out"; }
order=$(grep '^== ' <<<"$out" | tr '\n' ' ')
[ "$order" = "== $dir == vuser_init.c == action.c == vuser_end.c " ] || fail "file order: $order"
expect "settings: (none found: defaults)"
expect "user agent: Microsoft Internet Explorer 4.0"
expect "NOT RESOLVED: no navigation step before this one, so there is no page to act on"
expect "NOT RESOLVED: no link with the text \"Nowhere\" on the page http://shop.example.com/a/"
# The step that failed sent nothing: the next one acts on the same page.
expect "      link \"Order\" -> order in data/t1.html"
expect "page: data/t9.html not recorded (no such file)"
expect "NOT RESOLVED: the previous navigation step loaded no page (http://shop.example.com/a/order)"
expect "form \"order\" (form 1, action \"/a/buy\") in data/t3.html"
expect "NOT RESOLVED: the step's items do not fit the form on the page http://shop.example.com/a/order: item 1, the field \"colour\" refuses the value \"purple\""
expect "NOT RESOLVED: the step's items do not fit the form on the page http://shop.example.com/a/order: item 1, the form has no field named \"size\""
expect "does not parse: error 1000: "
expect "action.c:14  warning: string literal not closed on its line"
expect "action.c:15  web_url \"after broken\""
expect "      GET http://shop.example.com/after"
# A GET submission of data sends it in the query, references as written.
expect "      GET http://shop.example.com/a/find?q=red+shoes&sid={Sid}"
expect "      image \"Shop logo\" -> / in data/t1.html"
expect "NOT RESOLVED: the image \"banner.png\" is not inside a link on the page http://shop.example.com/a/"

# JSON tells the same.
"$tool" inspect --json "$dir" > "$work/out.json" || true
python3 - "$work/out.json" <<'PY' || fail "JSON form"
import json, sys
d = json.load(open(sys.argv[1]))
s = d["summary"]
assert (s["not_parsed"], s["unresolved"], s["resolved"]) == (1, 6, 9), s
entries = [e for f in d["files"] for e in f["entries"]]
buy = next(e for e in entries if e.get("name") == "buy")
assert buy["data"]["fits"] is False
assert buy["data"]["misfit"]["name"] == "colour" and buy["data"]["misfit"]["item"] == 1
assert any("purple" in u for u in buy["unresolved"])
PY

# --settings names another file; a missing one is an I/O error.
printf '[WEB]\nHttpVer=1.1\nKeepAlive=No\n' > "$work/other.cfg"
out=$("$tool" inspect --settings "$work/other.cfg" "$dir" || true)
expect "HTTP/1.1, keep-alive off, proxy none"
set +e
"$tool" inspect --settings "$work/none.cfg" "$dir" >/dev/null 2>"$work/err"; rc=$?
set -e
[ $rc -eq 2 ] || fail "a missing settings file exits with $rc, not 2"
grep -qF "cannot read the settings file" "$work/err" || fail "missing settings file not named"

# Not a folder, an unknown action file.
set +e
"$tool" inspect "$work/nothing" >/dev/null 2>"$work/err"; rc=$?
set -e
[ $rc -eq 2 ] || fail "a missing folder exits with $rc, not 2"
grep -qF "is not a folder" "$work/err" || fail "missing folder not named"
set +e
out=$("$tool" inspect --order action.c,nosuch.c "$dir" 2>"$work/err"); rc=$?
set -e
[ $rc -eq 2 ] || fail "an unknown action file exits with $rc, not 2"
grep -qF 'no action file "nosuch.c"' "$work/err" || fail "unknown action file not named"
expect "== action.c"

# A form that is not on the page: the step sends nothing and the page stays,
# so the next step looks for its link on the same page.
fallback=$work/fallback
mkdir -p "$fallback/data"
cat > "$fallback/action.c" <<'C'
Action()
{
    web_url("start", "URL=http://shop.example.com/a/", "Snapshot=t1.inf", LAST);
    web_submit_form("pay", "Action=http://pay.example.com/p/go", "Snapshot=t2.inf",
        ITEMDATA, "Name=card", "Value=1", ENDITEM, LAST);
    web_link("receipt", "Text=Receipt", "Snapshot=t3.inf", LAST);
    return 0;
}
C
echo '<p>no form here</p>' > "$fallback/data/t1.html"
echo '<a href="receipt?n=1">Receipt</a>' > "$fallback/data/t2.html"
out=$("$tool" inspect "$fallback" || true)
expect "NOT RESOLVED: the page has no form on the page http://shop.example.com/a/"
expect "NOT RESOLVED: no link with the text \"Receipt\" on the page http://shop.example.com/a/"

# More than 50 steps: a progress line on a terminal's stderr, none otherwise.
for i in $(seq 1 60); do
  echo "    web_url(\"s$i\", \"URL=http://shop.example.com/$i\", LAST);"
done | { echo "Action() {"; cat; echo "}"; } > "$dir/action.c"
"$tool" inspect "$dir" >/dev/null 2>"$work/err" || true
[ ! -s "$work/err" ] || fail "progress written to a file"
if command -v script >/dev/null 2>&1; then
  script -qec "'$tool' inspect '$dir' >/dev/null" /dev/null > "$work/tty" 2>&1 || true
  grep -qF "webstep inspect: 65 of 65 steps" "$work/tty" || fail "no progress on a terminal: $(cat "$work/tty")"
fi
echo ok

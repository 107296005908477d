#!/usr/bin/env bash
# The main job on the shipped example folder: every navigation step resolved,
# with its method, absolute URL and body, the link or form picked in the page
# of the step before, and the frames of the frameset page.
source "$(dirname "$0")/common.bash" "$@"
example=examples/library-loans

out=$("$tool" inspect "$example") || fail "exit $? on the example folder"
expect() { grep -qF -- "$1" <<<"$out" || fail "missing: $1
in:
$out"; }
expect "settings: $example/default.cfg"
expect "user agent: Mozilla/5.0 (X11; Linux x86_64) NorthfieldLoansTest/1.0"
expect "HTTP/1.1, keep-alive on, proxy none"
# Action files: init first, end last.
order=$(grep '^== ' <<<"$out" | tr '\n' ' ')
[ "$order" = "== $example == init.c == loans.c == end.c " ] || fail "file order: $order"
# web_url with its extra resources taken against its own address.
expect "init.c:20  web_url \"home\"  [t1.inf]"
expect "      GET https://loans.example.org/"
expect "        https://loans.example.org/static/northfield-logo.png"
# The sign-in form of the home page, with the data set fitted and the body.
expect "      form \"signin\" (form 1, action \"/signin\") in data/t1.html"
expect "      data: 3 items fit the form"
expect "      POST https://loans.example.org/signin"
expect "        csrf=7f3c9a1e5b2d4680&card=29000012345678&pin={PatronPin}"
# Links picked by their text in the page of the previous step.
expect "      link \"My loans\" -> /account/loans in data/t2.html"
expect "      GET https://loans.example.org/account/loans"
# The frameset page and its frames with ids and snapshot files.
expect "        frame 1.1 \"nav\": data/t4f0.html <- https://loans.example.org/catalogue/nav.html"
expect "        frame 1.2 \"main\": data/t4f1.html <- https://loans.example.org/catalogue/search.html"
# The search form found in the frame; a GET form sends its data in the query.
expect "      form \"search\" (form 1, action \"/catalogue/results\") in data/t4f1.html (frame 1.2 \"main\")"
expect "      GET https://loans.example.org/catalogue/results?lang=en&page=1&view=list&q=tide+tables+of+the+north+sea&format=Book&branch=Harbour+Street&scope=title"
# web_submit_data: parameter references kept as written.
expect "        loan={loanId}&weeks=3&csrf={csrf}"
# Custom requests: the JSON body, the binary body; API answers leave the page.
expect "        {\"loan\":\"{loanId}\",\"channel\":\"email\",\"daysBefore\":2}"
expect "        NFLG\\x01\\x00\\x02\\x1Ftide tables\\x1E\\xFF"
expect "      page unchanged (a resource or a response that is not HTML)"
expect "      link \"Sign out\" -> /signout in data/t9.html"
expect "10 navigation steps: 10 resolved, 0 not resolved; 0 steps do not parse"
grep -q "NOT RESOLVED" <<<"$out" && fail "something is not resolved"

# The same as JSON.
"$tool" inspect --json "$example" > "$work/inspect.json" || fail "--json: exit $?"
python3 - "$work/inspect.json" <<'PY' || fail "JSON form"
import json, sys
d = json.load(open(sys.argv[1]))
assert d["summary"] == {"files": 3, "navigation_steps": 10, "resolved": 10, "unresolved": 0,
                        "not_parsed": 0}, d["summary"]
steps = [e for f in d["files"] for e in f["entries"] if e["kind"] == "navigation"]
assert [e["name"] for e in steps] == ["home", "sign_in", "My loans", "Catalogue", "search",
    "renew", "reminder", "reading_log", "account", "Sign out"], [e["name"] for e in steps]
search = steps[4]
assert search["target"]["frame_id"] == "1.2" and search["target"]["frame"] == "main"
assert search["data"] == {"items": 4, "fits": True}
frames = steps[3]["page"]["frames"]
assert [f["file"] for f in frames] == ["data/t4f0.html", "data/t4f1.html"]
assert steps[1]["request"]["body"].endswith("pin={PatronPin}")
assert steps[5]["request"]["content_type"] == "application/x-www-form-urlencoded"
PY

# --order reads only the files named, in that order.
set +e
out=$("$tool" inspect --order loans.c,end.c "$example")
rc=$?
set -e
[ $rc -eq 1 ] || fail "--order with a step that cannot be resolved: exit $rc, not 1"
order=$(grep '^== ' <<<"$out" | tr '\n' ' ')
[ "$order" = "== $example == loans.c == end.c " ] || fail "--order: $order"
grep -qF "NOT RESOLVED: no navigation step before this one" <<<"$out" ||
  fail "a link before any page is not said plainly"
echo ok

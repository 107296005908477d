#!/usr/bin/env bash
# The live server of examples/library-loans: the whole flow of the folder's
# script with curl and a cookie jar (home page and its token, sign-in with,
# without and with a wrong token, per-patron loans, the framed catalogue and
# its search, renewal, the JSON reminder, the reading log, the account page,
# sign-out), two sessions with different tokens, HTTPS with --connect-to,
# keep-alive, many users at once, clean stops on SIGTERM and SIGINT; then the
# live pages against the recorded ones (check_pages.py), and the folder with
# the wrong save rule failing there. Every server is started here on a port
# it picks and stopped on exit, whatever happens.
source "$(dirname "$0")/common.bash" "$@"
export PYTHONDONTWRITEBYTECODE=1

command -v curl >/dev/null || fail "curl is needed by this test (apt-get install curl)"
command -v openssl >/dev/null || fail "openssl is needed by this test (apt-get install openssl)"
server=examples/library-loans/server/server.py
check=examples/library-loans/server/check_pages.py

pids=()
stop_all() {
  local p
  for p in "${pids[@]}"; do
    kill "$p" 2>/dev/null || true
    wait "$p" 2>/dev/null || true
  done
  rm -rf "$work"
}
trap stop_all EXIT

# start NAME ARGS...: a server in the background; sets $pid and $port once it
# has printed its one line.
start() {
  local name=$1 i
  shift
  mkdir -p "$work/tmp-$name"
  TMPDIR="$work/tmp-$name" python3 "$server" --port 0 "$@" >"$work/$name.out" 2>"$work/$name.err" &
  pid=$!
  pids+=("$pid")
  for i in $(seq 600); do
    grep -q . "$work/$name.out" 2>/dev/null && break
    kill -0 "$pid" 2>/dev/null || fail "$name: the server ended at start: $(cat "$work/$name.err")"
    sleep 0.05
  done
  local out
  out=$(cat "$work/$name.out")
  [[ $out =~ ^listening\ on\ 127\.0\.0\.1:([0-9]+)$ ]] ||
    fail "$name: expected the one line 'listening on 127.0.0.1:PORT', got: '$out' $(cat "$work/$name.err")"
  port=${BASH_REMATCH[1]}
}

# req JAR ARGS...: curl with the jar; the body goes to $work/body, and
# "STATUS TYPE" to $answer.
req() {
  local jar=$1
  shift
  answer=$(curl -sS --max-time 10 -b "$jar" -c "$jar" -o "$work/body" \
    -w '%{http_code} %{content_type}' "$@") || fail "curl $*: exit $?"
  body=$(tr -d '\0' <"$work/body")
}
expect_answer() { [ "$answer" = "$1" ] || fail "$2: answered '$answer', expected '$1'; body: $body"; }
expect_body() { grep -qF -- "$1" <<<"$body" || fail "$2: '$1' is not in the answer: $body"; }
token_of() { sed -n 's/.*name="csrf" value="\([^"]*\)".*/\1/p' <<<"$body" | head -1; }
HTML='text/html; charset=utf-8'
PLAIN='text/plain; charset=utf-8'
FORM='application/x-www-form-urlencoded'

# --- plain HTTP --------------------------------------------------------------
start http
base=http://127.0.0.1:$port
a=$work/a.jar b=$work/b.jar

# The home page: the recorded page, a session cookie and a fresh token.
req "$a" "$base/"
expect_answer "200 $HTML" "home page"
expect_body "Welcome to Northfield Library" "home page"
expect_body '<form name="signin" action="/signin" method="post">' "home page"
token=$(token_of)
[[ $token =~ ^[0-9a-f]{16}$ ]] || fail "home page: token '$token' is not 16 hex digits"
[ "$token" != 7f3c9a1e5b2d4680 ] || fail "home page: the recorded token, not a fresh one"
grep -q 'NFSESSION' "$a" || fail "home page: no session cookie set"
req "$a" "$base/"
[ "$(token_of)" = "$token" ] || fail "the token changed within a session"
req "$b" "$base/"
token_b=$(token_of)
[ "$token_b" != "$token" ] || fail "two sessions got the same token $token"
req "$a" "$base/static/site.css"
expect_answer "200 text/css" "stylesheet"
req "$a" "$base/static/northfield-logo.png"
expect_answer "200 image/png" "logo"

# Sign-in: without the token, with a wrong one, without a session, with a
# wrong PIN: 403 saying why; with the token: 302 to the account page.
req "$a" -d "card=29000012345678&pin=4071" "$base/signin"
expect_answer "403 $PLAIN" "sign-in without the token"
expect_body "the form token is missing or wrong" "sign-in without the token"
req "$a" -d "csrf=0123456789abcdef&card=29000012345678&pin=4071" "$base/signin"
expect_answer "403 $PLAIN" "sign-in with a wrong token"
expect_body "the form token is missing or wrong" "sign-in with a wrong token"
req "$b" -d "csrf=$token&card=29000012345678&pin=5582" "$base/signin"
expect_answer "403 $PLAIN" "sign-in with another session's token"
req "$work/none.jar" -d "csrf=$token&card=29000012345678&pin=4071" "$base/signin"
expect_answer "403 $PLAIN" "sign-in without a session"
req "$a" -d "csrf=$token&card=29000012345678&pin=9999" "$base/signin"
expect_answer "403 $PLAIN" "sign-in with a wrong PIN"
expect_body "the card number or PIN is wrong" "sign-in with a wrong PIN"
req "$a" -d "csrf=$token&card=29000012345678" "$base/signin"
expect_answer "400 $PLAIN" "sign-in without a PIN"
expect_body "needs the fields card and pin" "sign-in without a PIN"
req "$a" "$base/account/loans"
expect_answer "403 $PLAIN" "loans before signing in"
expect_body "you are not signed in" "loans before signing in"
req "$a" "$base/signin"
expect_answer "405 $PLAIN" "GET of the sign-in"

# As the script signs in: the recorded card, the PIN of the user's row.
req "$a" -D "$work/headers" -d "csrf=$token&card=29000012345678&pin=4071&remember=1" "$base/signin"
expect_answer "302 $HTML" "sign-in"
grep -qi '^Location: /account' "$work/headers" || fail "sign-in: no redirect to /account: $(cat "$work/headers")"
req "$a" "$base/account"
expect_answer "200 $HTML" "account page"
expect_body "Signed in as <b>Ada Lindqvist</b>" "account page"
expect_body '<a href="/account/loans">My loans</a>' "account page"
# The second user: the script's fixed card with its own row's PIN.
req "$b" -d "csrf=$token_b&card=29000012345678&pin=5582" "$base/signin"
expect_answer "302 $HTML" "second sign-in"

# Loans: each patron its own ids; the renew form carries the session's token.
req "$a" "$base/account/loans"
expect_answer "200 $HTML" "loans"
[ "$(grep -o 'data-loan="[^"]*"' <<<"$body" | tr '\n' ' ')" = 'data-loan="L-40211" data-loan="L-40377" ' ] ||
  fail "loans of row 1: $body"
[ "$(token_of)" = "$token" ] || fail "the renew form does not carry the session's token: $body"
req "$b" "$base/account/loans"
ids_b=$(grep -o 'data-loan="[^"]*"' <<<"$body" | tr '\n' ' ')
[ "$ids_b" = 'data-loan="L-41211" data-loan="L-41377" ' ] || fail "loans of row 2: $ids_b"

# The framed catalogue, its frames and the search form's GET.
req "$a" "$base/catalogue/"
expect_answer "200 $HTML" "catalogue"
expect_body '<frame name="nav" src="/catalogue/nav.html">' "catalogue"
expect_body '<frame name="main" src="/catalogue/search.html">' "catalogue"
req "$a" "$base/catalogue/nav.html"
expect_answer "200 $HTML" "catalogue menu"
req "$a" "$base/catalogue/search.html"
expect_body '<form name="search" action="/catalogue/results" method="get">' "search frame"
req "$a" "$base/catalogue/results?lang=en&page=1&view=list&q=tide+tables+of+the+north+sea&format=Book&branch=Harbour+Street&scope=title"
expect_answer "200 $HTML" "search"
expect_body "2 results for <q>tide tables of the north sea</q>" "search"
expect_body '<a href="/catalogue/record/b1042">' "search"
req "$a" "$base/catalogue/results?q=zzz"
expect_body "0 results for" "search without a hit"
req "$a" "$base/catalogue/results?q=tide&format=Scroll"
expect_answer "400 $PLAIN" "search with an unknown format"
expect_body "format must be one of" "search with an unknown format"
req "$a" "$base/catalogue/record/b1042"
expect_answer "200 $HTML" "a catalogue record"
req "$a" "$base/nowhere"
expect_answer "404 $PLAIN" "unknown page"

# Renewal: the patron's loan with the token; another patron's loan, a wrong
# token, a week count outside the form's.
req "$a" -d "loan=L-40211&weeks=3&csrf=$token" "$base/account/loans/renew"
expect_answer "200 $HTML" "renewal"
expect_body "Renewed until" "renewal"
req "$a" -d "loan=L-41211&weeks=3&csrf=$token" "$base/account/loans/renew"
expect_answer "409 $PLAIN" "renewal of another patron's loan"
expect_body "'L-41211' is not a loan of Ada Lindqvist" "renewal of another patron's loan"
req "$a" -d "loan=L-40211&weeks=3&csrf=$token_b" "$base/account/loans/renew"
expect_answer "403 $PLAIN" "renewal with a wrong token"
expect_body "the form token is missing or wrong" "renewal with a wrong token"
req "$a" -d "loan=L-40211&weeks=3" "$base/account/loans/renew"
expect_answer "403 $PLAIN" "renewal without the token"
req "$a" -d "loan=L-40211&weeks=9&csrf=$token" "$base/account/loans/renew"
expect_answer "400 $PLAIN" "renewal of 9 weeks"

# The JSON reminder and the binary reading log.
req "$a" -H 'Content-Type: application/json' -d '{"loan":"L-40211","channel":"email","daysBefore":2}' \
  "$base/api/v1/reminders"
expect_answer "201 application/json" "reminder"
python3 -c 'import json,sys; d=json.load(open(sys.argv[1])); assert list(d)==["id","loan","channel","sendOn"] and d["loan"]=="L-40211", d' \
  "$work/body" || fail "reminder: $body"
req "$a" -H 'Content-Type: application/json' -d '{"loan":"L-41211","channel":"email","daysBefore":2}' \
  "$base/api/v1/reminders"
expect_answer "409 application/json" "reminder for another patron's loan"
req "$a" -H 'Content-Type: application/json' -d '{"loan":' "$base/api/v1/reminders"
expect_answer "400 application/json" "reminder with broken JSON"
expect_body '"error": "the body is not JSON' "reminder with broken JSON"
printf 'NFLG\x01\x00\x02\x1ftide tables\x1e\xff' >"$work/log.bin"
req "$a" -H 'Content-Type: application/octet-stream' --data-binary @"$work/log.bin" "$base/api/v1/reading-log"
expect_answer "200 application/octet-stream" "reading log"
cmp -s "$work/body" examples/library-loans/data/t8.bin || fail "reading log: $(od -c "$work/body")"
req "$a" -H 'Content-Type: application/octet-stream' --data-binary 'nonsense' "$base/api/v1/reading-log"
expect_answer "400 application/json" "reading log without its magic"

# The account page, sign-out: the session is gone.
req "$a" "$base/account"
expect_body "Sign out" "account page"
req "$a" "$base/signout"
expect_answer "200 $HTML" "sign-out"
expect_body "You have signed out" "sign-out"
req "$a" "$base/account"
expect_answer "403 $PLAIN" "account after sign-out"
req "$a" -d "loan=L-40211&weeks=3&csrf=$token" "$base/account/loans/renew"
expect_answer "403 $PLAIN" "renewal after sign-out"
req "$b" "$base/account"
expect_answer "200 $HTML" "the other session after the first signed out"

# HTTP/1.1 keep-alive: curl keeps one connection for both addresses.
curl -sS -v -o /dev/null -o /dev/null "$base/catalogue/nav.html" "$base/static/site.css" 2>"$work/v.txt"
grep -q 'Re-using existing connection' "$work/v.txt" || fail "no keep-alive: $(cat "$work/v.txt")"

# Many users at once: 24 users, each the flow of the script on its own
# session (the rows of patrons.dat in turn), 8 at a time.
python3 - "$port" <<'PY' || fail "concurrent users"
import http.client, re, sys, threading, time
port = int(sys.argv[1])
pins = ["4071", "5582", "1209", "8830"]
errors, tokens, count = [], set(), [0]
lock = threading.Lock()

def user(n):
    c = http.client.HTTPConnection("127.0.0.1", port, timeout=10)
    cookie = {}
    def go(method, path, body=None, ctype=None):
        h = {"Host": "loans.example.org"}
        if cookie: h["Cookie"] = cookie["v"]
        if ctype: h["Content-Type"] = ctype
        c.request(method, path, body=body, headers=h)
        r = c.getresponse(); data = r.read().decode("utf-8", "replace")
        sc = r.getheader("Set-Cookie")
        if sc: cookie["v"] = sc.split(";")[0]
        with lock: count[0] += 1
        return r.status, data
    s, page = go("GET", "/")
    token = re.search(r'name="csrf" value="(\w+)"', page).group(1)
    s, _ = go("POST", "/signin", "csrf=%s&card=29000012345678&pin=%s" % (token, pins[n % 4]),
              "application/x-www-form-urlencoded")
    assert s == 302, s
    s, page = go("GET", "/account/loans")
    loan = re.search(r'data-loan="([^"]+)"', page).group(1)
    assert loan == "L-%d" % (40211 + 1000 * (n % 4)), (n, loan)
    for _ in range(2):
        for path in ("/catalogue/", "/catalogue/nav.html", "/catalogue/search.html"):
            assert go("GET", path)[0] == 200
        assert go("POST", "/account/loans/renew", "loan=%s&weeks=3&csrf=%s" % (loan, token),
                  "application/x-www-form-urlencoded")[0] == 200
        assert go("POST", "/api/v1/reminders", '{"loan":"%s","channel":"email","daysBefore":2}' % loan,
                  "application/json")[0] == 201
    assert go("GET", "/signout")[0] == 200
    with lock: tokens.add(token)

def run(n):
    try: user(n)
    except Exception as e:
        with lock: errors.append("user %d: %r" % (n, e))

start = time.monotonic()
for wave in range(3):
    ts = [threading.Thread(target=run, args=(wave * 8 + i,)) for i in range(8)]
    for t in ts: t.start()
    for t in ts: t.join()
took = time.monotonic() - start
assert not errors, errors
assert len(tokens) == 24, "tokens repeat: %d distinct of 24" % len(tokens)
print("concurrent users: 24 flows, %d requests in %.2f s (%.0f requests/s)" % (count[0], took, count[0] / took))
PY

# The live pages against the recorded ones.
out=$(python3 "$check" --port "$port") || fail "live pages differ from the recording:
$out"
grep -q 'every form, link, frame and registration as recorded' <<<"$out" || fail "check: $out"
# ... and the check sees a difference: a recorded field renamed.
cp -r examples/library-loans/data "$work/data"
sed -i 's/name="weeks"/name="week_count"/' "$work/data/t3.html"
set +e
out=$(python3 "$check" --port "$port" --recording "$work/data"); rc=$?
set -e
[ "$rc" -eq 1 ] || fail "a renamed field went unseen (exit $rc): $out"
grep -q '^DIFFERENT t3: forms differ' <<<"$out" || fail "the renamed field is not named: $out"
# The folder with the wrong save rule: its left boundary is on no live page.
set +e
out=$(python3 "$check" --port "$port" --folder examples/library-loans-wrong-save); rc=$?
set -e
[ "$rc" -eq 1 ] || fail "the wrong save rule went unseen (exit $rc): $out"
grep -qF "DIFFERENT t1: web_reg_save_param csrf: the left boundary 'name=\"csfr\" value=\"' is not on the live page" \
  <<<"$out" || fail "the wrong boundary is not named: $out"
[ "$(grep -c '^DIFFERENT' <<<"$out")" -eq 1 ] || fail "more than the wrong rule differs: $out"

# No line per request without --verbose; SIGTERM stops it with status 0.
[ ! -s "$work/http.err" ] || fail "the server wrote to stderr: $(head "$work/http.err")"
kill -TERM "$pid"
set +e
wait "$pid"; rc=$?
set -e
[ "$rc" -eq 0 ] || fail "SIGTERM: exit $rc, expected 0"
[ "$(wc -l <"$work/http.out")" -eq 1 ] || fail "more than one line on stdout: $(cat "$work/http.out")"

# --- HTTPS on the recorded host, as a live replay reaches it --------------------
start tls --tls --verbose
connect=(-k --connect-to "loans.example.org:443:127.0.0.1:$port")
t=$work/t.jar
req "$t" "${connect[@]}" https://loans.example.org/
expect_answer "200 $HTML" "home page over TLS"
token=$(token_of)
grep -qE 'loans\.example\.org.*TRUE.*NFSESSION' "$t" || fail "the cookie over TLS is not Secure: $(cat "$t")"
req "$t" "${connect[@]}" -d "csrf=$token&card=29000012345678&pin=1209" https://loans.example.org/signin
expect_answer "302 $HTML" "sign-in over TLS"
req "$t" "${connect[@]}" https://loans.example.org/account/loans
expect_body 'data-loan="L-42211"' "loans of row 3 over TLS"
# The certificate names the recorded host.
openssl s_client -connect "127.0.0.1:$port" -servername loans.example.org </dev/null 2>/dev/null |
  openssl x509 -noout -ext subjectAltName >"$work/san.txt" 2>&1 || true
grep -q 'DNS:loans.example.org' "$work/san.txt" || fail "certificate: $(cat "$work/san.txt")"
# A client that speaks no TLS does not stop the server.
curl -sS --max-time 5 -o /dev/null "http://127.0.0.1:$port/" 2>/dev/null || true
out=$(python3 "$check" --port "$port" --tls) || fail "live pages over TLS: $out"
grep -q '"GET /account/loans HTTP/1.1" 200' "$work/tls.err" || fail "--verbose logs no request line"
# The certificate's temporary folder is gone (the key is loaded at start).
[ -z "$(ls -A "$work/tmp-tls")" ] || fail "certificate files left: $(ls -A "$work/tmp-tls")"
kill -INT "$pid"
set +e
wait "$pid"; rc=$?
set -e
[ "$rc" -eq 0 ] || fail "SIGINT: exit $rc, expected 0"

# --- bad start options: a message naming what was expected ------------------------
set +e
out=$(python3 "$server" --port 70000 2>&1); rc=$?
set -e
[ "$rc" -eq 2 ] && grep -q -- '--port takes 0 to 65535' <<<"$out" || fail "--port 70000: exit $rc: $out"
printf 'number,code\n1,2\n' >"$work/bad.dat"
set +e
out=$(python3 "$server" --patrons "$work/bad.dat" 2>&1); rc=$?
set -e
[ "$rc" -ne 0 ] && grep -q 'expected a header naming the columns card and pin' <<<"$out" ||
  fail "a table without card and pin: exit $rc: $out"
# --strict-cards: the card and the PIN of one row, not the PIN alone.
start busy --strict-cards
s=$work/s.jar
req "$s" "http://127.0.0.1:$port/"
token=$(token_of)
req "$s" -d "csrf=$token&card=29000012345678&pin=5582" "http://127.0.0.1:$port/signin"
expect_answer "403 $PLAIN" "--strict-cards: the card of row 1 with the PIN of row 2"
req "$s" -d "csrf=$token&card=29000087654321&pin=5582" "http://127.0.0.1:$port/signin"
expect_answer "302 $HTML" "--strict-cards: card and PIN of row 2"
# HEAD: the headers of GET without the body.
curl -sS -I "http://127.0.0.1:$port/hours" >"$work/head.txt"
grep -q '^HTTP/1.1 200' "$work/head.txt" && grep -qi '^Content-Length: [1-9]' "$work/head.txt" ||
  fail "HEAD: $(cat "$work/head.txt")"
set +e
out=$(timeout 10 python3 "$server" --port "$port" 2>&1); rc=$?
set -e
[ "$rc" -ne 0 ] && grep -q "cannot listen on 127.0.0.1:$port" <<<"$out" || fail "a port in use: exit $rc: $out"

echo "example server: flow, tokens, sessions, TLS, keep-alive, concurrency and recorded pages checked"

#!/usr/bin/env python3
"""Check a running server.py against the folder's recording: will every step
of the script find its target live?

  python3 examples/library-loans/server/check_pages.py --port 41234 [--tls]
  python3 examples/library-loans/server/check_pages.py --port 41234 \
      --folder examples/library-loans-wrong-save

It walks the script's flow as patron row 1 (the row that was recorded) on its
own session and compares each live page with the recorded page of the same
step (data/tN.html of the recording folder, default: the folder above this
one):
- the forms: name, action, method, and every field (type, name; the options
  of a select, the value of a radio, checkbox, submit or hidden field; the
  csrf token must differ from the recorded one, it is fresh per session);
- the links (text, address, target) and the frames (name, source). The
  account page is recorded twice, after sign-in (t2) and later (t9): the live
  one must carry the links of both. The renewal page also links to "My
  loans" (see server.py); no other extra or missing link is allowed;
- the registrations of the script folder (--folder) apply to the live pages:
  each web_reg_find text is there and each web_reg_save_param left boundary
  is there with its right boundary after it;
- the JSON answer has the recorded keys and Content-Type application/json.

Exit status: 0 when every check passes, 1 with one line per difference.
The server is reached on 127.0.0.1 with Host: loans.example.org (TLS with
that server name and no certificate check, as curl -k --connect-to).
"""

import argparse
import http.client
import json
import os
import re
import ssl
import sys
from html.parser import HTMLParser
from urllib.parse import urlencode

HERE = os.path.dirname(os.path.abspath(__file__))
RECORDING = os.path.join(os.path.dirname(HERE), "data")
HOST = "loans.example.org"
RECORDED_TOKEN = "7f3c9a1e5b2d4680"
# The live pages that may carry links the recording has not: the page, and
# the (text, href, target) it adds. See server.py.
EXTRA_LINKS = {"t6": {("My loans", "/account/loans", None)}}


class Page(HTMLParser):
    """Forms with their fields, links and frames of one page."""

    def __init__(self, text):
        super().__init__(convert_charrefs=True)
        self.forms, self.links, self.frames = [], [], []
        self.form = self.select = self.link = None
        self.feed(text)
        self.close()

    def handle_starttag(self, tag, attrs):
        a = dict(attrs)
        if tag == "form":
            self.form = {"name": a.get("name"), "action": a.get("action"),
                         "method": (a.get("method") or "get").lower(), "fields": []}
            self.forms.append(self.form)
        elif tag == "input" and self.form is not None:
            kind = (a.get("type") or "text").lower()
            value = a.get("value") if kind in ("hidden", "radio", "checkbox", "submit") else None
            self.form["fields"].append((kind, a.get("name"), value))
        elif tag == "select" and self.form is not None:
            self.select = [a.get("name"), []]
        elif tag == "option" and self.select is not None:
            self.select[1].append([a.get("value"), ""])
        elif tag == "textarea" and self.form is not None:
            self.form["fields"].append(("textarea", a.get("name"), None))
        elif tag == "a":
            self.link = [a.get("href"), a.get("target"), ""]
        elif tag == "frame" or tag == "iframe":
            self.frames.append((a.get("name"), a.get("src")))

    def handle_data(self, data):
        if self.link is not None:
            self.link[2] += data
        if self.select is not None and self.select[1]:
            self.select[1][-1][1] += data

    def handle_endtag(self, tag):
        if tag == "a" and self.link is not None:
            href, target, text = self.link
            self.links.append((" ".join(text.split()), href, target))
            self.link = None
        elif tag == "select" and self.select is not None:
            # An option without value= sends its text.
            values = tuple(v if v is not None else " ".join(t.split()) for v, t in self.select[1])
            self.form["fields"].append(("select", self.select[0], values))
            self.select = None
        elif tag == "form":
            self.form = None


class NamedTlsConnection(http.client.HTTPSConnection):
    """TLS to 127.0.0.1 naming the recorded host (the certificate's name)."""

    def connect(self):
        http.client.HTTPConnection.connect(self)
        self.sock = self._context.wrap_socket(self.sock, server_hostname=HOST)


class Client:
    """One browser session: keep-alive connection, cookie, Host header."""

    def __init__(self, port, tls):
        if tls:
            context = ssl.create_default_context()
            context.check_hostname = False
            context.verify_mode = ssl.CERT_NONE
            self.conn = NamedTlsConnection("127.0.0.1", port, timeout=10, context=context)
        else:
            self.conn = http.client.HTTPConnection("127.0.0.1", port, timeout=10)
        self.cookie = None

    def request(self, method, path, body=None, ctype=None):
        headers = {"Host": HOST, "Accept-Language": "en-GB,en;q=0.8"}
        if self.cookie:
            headers["Cookie"] = self.cookie
        if ctype:
            headers["Content-Type"] = ctype
        self.conn.request(method, path, body=body, headers=headers)
        response = self.conn.getresponse()
        data = response.read()
        for value in response.headers.get_all("Set-Cookie") or []:
            pair = value.split(";", 1)[0]
            self.cookie = None if pair.endswith("=") else pair
        return response.status, response.headers, data


def calls(source):
    """(function, [string literals]) of every web_ call of a C source, the
    literals with their escapes decoded; comments skipped."""
    out, i, n = [], 0, len(source)
    name = re.compile(r"\b(web_\w+)\s*\(")
    while i < n:
        if source.startswith("/*", i):
            i = source.find("*/", i + 2) % (n + 1) + 2
            continue
        if source.startswith("//", i):
            i = source.find("\n", i) % (n + 1) + 1
            continue
        if source[i] == '"':
            i = skip_literal(source, i)
            continue
        m = name.match(source, i)
        if not m:
            i += 1
            continue
        i, depth, args = m.end(), 1, []
        while i < n and depth:
            if source[i] == '"':
                end = skip_literal(source, i)
                args.append(bytes(source[i + 1:end - 1], "utf-8").decode("unicode_escape"))
                i = end
                continue
            depth += {"(": 1, ")": -1}.get(source[i], 0)
            i += 1
        out.append((m.group(1), args))
    return out


def skip_literal(source, i):
    """The index after the string literal that starts at i."""
    i += 1
    while i < len(source) and source[i] != '"':
        i += 2 if source[i] == "\\" else 1
    return i + 1


def registrations(folder):
    """The web_reg_find texts and web_reg_save_param boundaries of the
    folder's action files, each with the snapshot of the step it applies to:
    {tN: [("find", text) | ("save", name, lb, rb)]}."""
    found = {}
    pending = []
    for name in ("init.c", "loans.c", "end.c"):
        with open(os.path.join(folder, name), encoding="utf-8") as f:
            source = f.read()
        for function, args in calls(source):
            if function == "web_reg_find":
                text = next((a[5:] for a in args if a.startswith("Text=")), None)
                if text is not None:
                    pending.append(("find", text))
            elif function == "web_reg_save_param":
                lb = next((a[3:] for a in args if a.startswith("LB=")), None)
                rb = next((a[3:] for a in args if a.startswith("RB=")), "")
                if args and lb is not None:
                    pending.append(("save", args[0], lb, rb))
            else:
                snap = next((a[9:-4] for a in args if a.startswith("Snapshot=")), None)
                if snap:
                    found[snap] = pending
                    pending = []
    return found


class Checker:
    def __init__(self, recording, rules):
        self.recording = recording
        self.rules = rules
        self.problems = []
        self.checked = 0

    def fail(self, text):
        self.problems.append(text)

    def recorded(self, name):
        with open(os.path.join(self.recording, name + ".html"), encoding="utf-8") as f:
            return f.read()

    def compare(self, snap, live, recorded_names=None, status=None, expect_status=200):
        """The live page of step snap against its recorded page(s)."""
        self.checked += 1
        if status != expect_status:
            self.fail("%s: status %s, expected %d" % (snap, status, expect_status))
        text = live.decode("utf-8", "replace")
        have = Page(text)
        names = recorded_names or [snap]
        pages = [Page(self.recorded(n)) for n in names]
        want_forms = pages[0].forms
        if [self.form_key(f) for f in have.forms] != [self.form_key(f) for f in want_forms]:
            self.fail("%s: forms differ:\n  live:     %s\n  recorded: %s"
                      % (snap, [self.form_key(f) for f in have.forms],
                         [self.form_key(f) for f in want_forms]))
        for form in have.forms:
            for kind, name, value in form["fields"]:
                if name == "csrf" and (not value or value == RECORDED_TOKEN
                                       or not re.fullmatch(r"[0-9a-f]{16}", value)):
                    self.fail("%s: the csrf token %r is not a fresh 16-hex-digit token"
                              % (snap, value))
        want_links = set().union(*(set(p.links) for p in pages)) | EXTRA_LINKS.get(snap, set())
        if set(have.links) != want_links:
            self.fail("%s: links differ: live only %s, recorded only %s"
                      % (snap, sorted(set(have.links) - want_links, key=str),
                         sorted(want_links - set(have.links), key=str)))
        if have.frames != pages[0].frames:
            self.fail("%s: frames differ: live %s, recorded %s" % (snap, have.frames, pages[0].frames))
        self.apply_rules(snap, text)
        return text

    def apply_rules(self, snap, text):
        for rule in self.rules.get(snap, []):
            if rule[0] == "find" and rule[1] not in text:
                self.fail("%s: web_reg_find text %r is not on the live page" % (snap, rule[1]))
            if rule[0] == "save":
                _, name, lb, rb = rule
                at = text.find(lb)
                if at < 0:
                    self.fail("%s: web_reg_save_param %s: the left boundary %r is not on the "
                              "live page" % (snap, name, lb))
                elif text.find(rb, at + len(lb)) < 0:
                    self.fail("%s: web_reg_save_param %s: no right boundary %r after the left "
                              "one" % (snap, name, rb))

    @staticmethod
    def form_key(form):
        fields = tuple((k, n, None if n == "csrf" else v) for k, n, v in form["fields"])
        return (form["name"], form["action"], form["method"], fields)


def run(port, tls, folder, recording):
    checker = Checker(recording, registrations(folder))
    user = Client(port, tls)

    status, headers, body = user.request("GET", "/")
    text = checker.compare("t1", body, status=status)
    token = re.search(r'name="csrf" value="([0-9a-f]*)"', text)
    token = token.group(1) if token else ""
    for path, ctype in (("/static/site.css", "text/css"), ("/static/northfield-logo.png", "image/png")):
        status, headers, body = user.request("GET", path)
        checker.checked += 1
        if status != 200 or headers.get("Content-Type") != ctype or not body:
            checker.fail("%s: status %d, type %s, %d bytes; expected 200 %s with a body"
                         % (path, status, headers.get("Content-Type"), len(body), ctype))

    status, headers, body = user.request(
        "POST", "/signin", urlencode({"csrf": token, "card": "29000012345678", "pin": "4071"}),
        "application/x-www-form-urlencoded")
    if status != 302 or headers.get("Location") != "/account":
        checker.fail("t2: the sign-in answered %d to %s, expected 302 to /account"
                     % (status, headers.get("Location")))
    status, headers, body = user.request("GET", "/account")
    checker.compare("t2", body, ["t2", "t9"], status=status)

    status, headers, body = user.request("GET", "/account/loans")
    checker.compare("t3", body, status=status)
    status, headers, body = user.request("GET", "/catalogue/")
    checker.compare("t4", body, status=status)
    status, headers, body = user.request("GET", "/catalogue/nav.html")
    checker.compare("t4f0", body, status=status)
    status, headers, body = user.request("GET", "/catalogue/search.html")
    checker.compare("t4f1", body, status=status)
    status, headers, body = user.request(
        "GET", "/catalogue/results?lang=en&page=1&view=list&q=tide+tables+of+the+north+sea"
        "&format=Book&branch=Harbour+Street&scope=title")
    checker.compare("t5", body, status=status)
    status, headers, body = user.request(
        "POST", "/account/loans/renew", urlencode({"loan": "L-40211", "weeks": "3", "csrf": token}),
        "application/x-www-form-urlencoded")
    checker.compare("t6", body, status=status)

    status, headers, body = user.request(
        "POST", "/api/v1/reminders", '{"loan":"L-40211","channel":"email","daysBefore":2}',
        "application/json")
    checker.checked += 1
    with open(os.path.join(recording, "t7.json"), encoding="utf-8") as f:
        want = json.load(f)
    try:
        got = json.loads(body)
    except ValueError:
        got = None
    if status != 201 or headers.get("Content-Type") != "application/json" \
            or not isinstance(got, dict) or list(got) != list(want) or got.get("loan") != "L-40211":
        checker.fail("t7: %d %s %r; expected 201 application/json with the keys %s"
                     % (status, headers.get("Content-Type"), body, list(want)))
    status, headers, body = user.request(
        "POST", "/api/v1/reading-log", b"NFLG\x01\x00\x02\x1ftide tables\x1e\xff",
        "application/octet-stream")
    checker.checked += 1
    with open(os.path.join(recording, "t8.bin"), "rb") as f:
        if status != 200 or body != f.read():
            checker.fail("t8: %d %r; expected 200 with the recorded acknowledgement" % (status, body))

    status, headers, body = user.request("GET", "/account")
    checker.compare("t9", body, ["t9", "t2"], status=status)
    status, headers, body = user.request("GET", "/signout")
    checker.compare("t10", body, status=status)
    return checker


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--port", type=int, required=True, help="the port server.py printed")
    parser.add_argument("--tls", action="store_true", help="the server runs with --tls")
    parser.add_argument("--folder", default=os.path.dirname(HERE),
                        help="the script folder whose registrations are checked")
    parser.add_argument("--recording", default=RECORDING,
                        help="the recorded pages to compare with (default: the folder's data/)")
    args = parser.parse_args()
    for path in [os.path.join(args.folder, n) for n in ("init.c", "loans.c", "end.c")] + \
            [os.path.join(args.recording, n) for n in ("t1.html", "t7.json", "t8.bin")]:
        if not os.path.isfile(path):
            print("check_pages.py: %s is missing; --folder takes a library-loans script folder "
                  "and --recording its data/ folder" % path, file=sys.stderr)
            return 2
    try:
        checker = run(args.port, args.tls, args.folder, args.recording)
    except (OSError, http.client.HTTPException) as e:
        sys.exit("check_pages.py: no answer from a server on 127.0.0.1:%d: %s" % (args.port, e))
    for problem in checker.problems:
        print("DIFFERENT " + problem)
    print("%d pages and answers checked: %s" % (
        checker.checked, "%d differences" % len(checker.problems) if checker.problems
        else "every form, link, frame and registration as recorded"))
    return 1 if checker.problems else 0


if __name__ == "__main__":
    sys.exit(main())

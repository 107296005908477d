#!/usr/bin/env python3
"""The loan service of examples/library-loans as a live application.

The folder's recording (../data) was made against an invented Northfield
Library on https://loans.example.org. This server answers the same paths with
the same pages, forms, links, frames, resources and JSON as that recording, so
that the folder's script can run live, many users at once:

  python3 examples/library-loans/server/server.py --tls --port 0
  listening on 127.0.0.1:41234
  # then aim the recorded host at it, e.g. with curl:
  curl -k --connect-to loans.example.org:443:127.0.0.1:41234 https://loans.example.org/

What is live rather than recorded:
- a session cookie (NFSESSION) is set on the first visit of the home page; a
  fresh random token per session is put in the sign-in form's hidden csrf
  field and must come back with the sign-in and the renewal posts (else 403
  "the form token is missing or wrong");
- sign-in: any card number (digits) with a PIN of a row of patrons.dat signs
  in as that row's patron. The script sends one fixed card with the PIN of
  the user's row, so the PIN picks the patron; --strict-cards instead needs
  the card and the PIN of the same row. Signing in gives a new session id
  (the token stays);
- every patron has loans of its own (row 1 has the recorded L-40211 and
  L-40377); a renewal or reminder must name a loan of the signed-in patron
  (else 409); a renewal moves the due date on by its weeks;
- the renewal page also links to "My loans", so that the run group's second
  iteration finds its first link there (the recorded renewal page has only
  "Back to your account");
- sign-out ends the session.

Python 3 standard library only. No per-request disk writes, no sleeps, no
per-request log lines unless --verbose: it must not be what limits a load
test. SIGTERM and SIGINT stop it cleanly (the temporary certificate of --tls
is removed).
"""

import argparse
import datetime
import hmac
import html
import itertools
import json
import os
import secrets
import shutil
import signal
import socket
import ssl
import subprocess
import sys
import tempfile
import threading
import time
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer
from urllib.parse import parse_qs, urlsplit

HERE = os.path.dirname(os.path.abspath(__file__))
FOLDER = os.path.dirname(HERE)
TLS_NAME = "loans.example.org"
COOKIE = "NFSESSION"
MAX_BODY = 1 << 20
# Sessions idle this long are dropped; at most MAX_SESSIONS are kept (the
# oldest go first), so a long load test does not grow the server without end.
SESSION_IDLE_SECONDS = 3600
MAX_SESSIONS = 200000

# --- the library's data -----------------------------------------------------

# (id, title, author, format, branches). The first two are the loans of the
# recorded patron; the search of the script finds b1042 and b0877.
CATALOGUE = [
    ("b1042", "Tide Tables of the North Sea, 2026 edition", "Hydrographic Office",
     "Book", ("Harbour Street", "Mill Lane")),
    ("b0877", "North Sea Tides: a Pilot's Handbook", "Maren Holt", "Book",
     ("Harbour Street",)),
    ("b0311", "Lighthouses of the Atlantic Coast", "Iona Reid", "Book",
     ("Harbour Street", "Mill Lane")),
    ("b0520", "The Mill Lane Chronicles", "Tom Ashby", "Book", ("Mill Lane",)),
    ("b0634", "Knots for Harbour Pilots", "Sven Aalto", "Book", ("Harbour Street",)),
    ("b0702", "Castle Hill in Winter", "Hanna Ferrier", "DVD", ("Mill Lane",)),
    ("b0915", "A Short History of Northfield", "Edith Crane", "Audiobook",
     ("Harbour Street", "Mill Lane")),
    ("b1101", "Sea Birds of the Northern Isles", "Ruth Gallacher", "Book",
     ("Mill Lane",)),
]
NEW_ARRIVALS = ["b1042", "b1101", "b0702"]
LOAN_TITLES = ["Tide Tables of the North Sea", "Lighthouses of the Atlantic Coast",
               "The Mill Lane Chronicles", "Knots for Harbour Pilots",
               "Castle Hill in Winter", "A Short History of Northfield",
               "Sea Birds of the Northern Isles"]
NAMES = ["Ada Lindqvist", "Bram Okafor", "Cleo Marsh", "Dev Ranganathan",
         "Elin Castell", "Farid Haddad", "Greta Moss", "Hugo Varga"]
FORMATS = ("", "Book", "DVD", "Audiobook")
BRANCHES = ("all", "Harbour Street", "Mill Lane")
SCOPES = ("keyword", "title", "author")
STOPWORDS = {"a", "an", "and", "of", "the", "to", "in", "on", "for"}


class Patron:
    def __init__(self, row, card, pin):
        self.row = row
        self.card = card
        self.pin = pin
        self.name = NAMES[row % len(NAMES)] + ("" if row < len(NAMES) else " %d" % (row + 1))
        # Row 1 has the recorded loans; every other row its own ids.
        first = datetime.date(2026, 11, 30) + datetime.timedelta(days=row)
        self.loans = [
            Loan("L-%d" % (40211 + 1000 * row), LOAN_TITLES[(2 * row) % len(LOAN_TITLES)], first),
            Loan("L-%d" % (40377 + 1000 * row), LOAN_TITLES[(2 * row + 1) % len(LOAN_TITLES)],
                 first + datetime.timedelta(days=3)),
        ]
        self.by_id = {loan.id: loan for loan in self.loans}


class Loan:
    def __init__(self, loan_id, title, due):
        self.id = loan_id
        self.title = title
        self.due = due


def read_patrons(path):
    """The rows of patrons.dat (a header naming card and pin, then one row
    per patron, comma separated). Exits with a message naming the line of a
    malformed file."""
    try:
        with open(path, encoding="utf-8-sig") as f:
            lines = f.read().splitlines()
    except OSError as e:
        sys.exit("server.py: cannot read the patron table %s: %s" % (path, e.strerror))
    rows = [(n, l) for n, l in enumerate(lines, 1) if l.strip()]
    if not rows:
        sys.exit("server.py: %s is empty; expected a header line 'card,pin' and rows" % path)
    header = [c.strip().lower() for c in rows[0][1].split(",")]
    if "card" not in header or "pin" not in header:
        sys.exit("server.py: %s:%d: expected a header naming the columns card and pin, got %r"
                 % (path, rows[0][0], rows[0][1]))
    ci, pi = header.index("card"), header.index("pin")
    patrons = []
    for n, line in rows[1:]:
        cells = [c.strip() for c in line.split(",")]
        if len(cells) != len(header) or not cells[ci].isdigit() or not cells[pi].isdigit():
            sys.exit("server.py: %s:%d: expected %d comma-separated cells with a numeric card "
                     "and pin, got %r" % (path, n, len(header), line))
        patrons.append(Patron(len(patrons), cells[ci], cells[pi]))
    if not patrons:
        sys.exit("server.py: %s has a header but no patron rows" % path)
    return patrons


class Session:
    __slots__ = ("token", "patron", "touched")

    def __init__(self):
        # The recorded token is 16 hex digits; so is this one.
        self.token = secrets.token_hex(8)
        self.patron = None
        self.touched = time.monotonic()


class Library:
    """Everything the users share: sessions and the loans' due dates. One lock,
    held only for dictionary updates."""

    def __init__(self, patrons, strict_cards):
        self.patrons = patrons
        self.strict_cards = strict_cards
        self.sessions = {}
        self.lock = threading.Lock()
        self.reminder_ids = itertools.count(88120)

    def new_session(self):
        session = Session()
        sid = secrets.token_hex(16)
        with self.lock:
            self.sessions[sid] = session
            while len(self.sessions) > MAX_SESSIONS:
                del self.sessions[next(iter(self.sessions))]
        return sid, session

    def session(self, sid):
        if not sid:
            return None
        now = time.monotonic()
        with self.lock:
            session = self.sessions.get(sid)
            if session is None:
                return None
            if now - session.touched > SESSION_IDLE_SECONDS:
                del self.sessions[sid]
                return None
            session.touched = now
            return session

    def sign_in(self, old_sid, session, patron):
        """A new id for the signed-in session (the old one stops working)."""
        sid = secrets.token_hex(16)
        with self.lock:
            self.sessions.pop(old_sid, None)
            session.patron = patron
            self.sessions[sid] = session
        return sid

    def end(self, sid):
        with self.lock:
            self.sessions.pop(sid, None)

    def patron_for(self, card, pin):
        exact = [p for p in self.patrons if p.card == card and p.pin == pin]
        if exact:
            return exact[0]
        if self.strict_cards:
            return None
        return next((p for p in self.patrons if p.pin == pin), None)

    def renew(self, loan, weeks):
        with self.lock:
            loan.due += datetime.timedelta(weeks=weeks)
            return loan.due

    def due(self, loan):
        with self.lock:
            return loan.due


# --- pages --------------------------------------------------------------------

def esc(text):
    """For attribute values."""
    return html.escape(text, quote=True)


def esc_text(text):
    """For element text: quotes stay as written (a title such as "Pilot's")."""
    return html.escape(text, quote=False)


def page(title, body):
    return ('<!DOCTYPE html>\n<html lang="en">\n<head><meta charset="utf-8"><title>%s</title>'
            '</head>\n<body>\n%s</body>\n</html>\n' % (esc_text(title), body)).encode("utf-8")


HOME = """<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<title>Northfield Library - Loans</title>
<base href="https://loans.example.org/">
<link rel="stylesheet" href="/static/site.css">
</head>
<body>
<img src="/static/northfield-logo.png" alt="Northfield Library">
<h1>Welcome to Northfield Library</h1>
<p><a href="/catalogue/">Catalogue</a> | <a href="/hours">Opening hours</a></p>
<form name="signin" action="/signin" method="post">
  <input type="hidden" name="csrf" value="%s">
  <label>Library card <input type="text" name="card" size="14"></label>
  <label>PIN <input type="password" name="pin" size="6"></label>
  <label><input type="checkbox" name="remember" value="1" checked> Remember me</label>
  <input type="submit" name="go" value="Sign in">
</form>
</body>
</html>
"""

FRAMESET = b"""<!DOCTYPE html PUBLIC "-//W3C//DTD HTML 4.01 Frameset//EN">
<html>
<head><title>Catalogue - Northfield Library</title></head>
<frameset cols="22%,78%">
  <frame name="nav" src="/catalogue/nav.html">
  <frame name="main" src="/catalogue/search.html">
  <noframes><p>The catalogue needs frames.</p></noframes>
</frameset>
</html>
"""

NAV = b"""<html>
<head><title>Catalogue menu</title></head>
<body>
<ul>
  <li><a href="/catalogue/search.html" target="main">Search</a></li>
  <li><a href="/catalogue/new.html" target="main">New arrivals</a></li>
  <li><a href="/account/loans" target="_top">My loans</a></li>
</ul>
</body>
</html>
"""

SEARCH = b"""<html>
<head><title>Search the catalogue</title></head>
<body>
<form name="search" action="/catalogue/results" method="get">
  <input type="hidden" name="lang" value="en">
  <input type="hidden" name="page" value="1">
  <input type="hidden" name="view" value="list">
  <input type="text" name="q" size="40">
  <select name="format">
    <option value="">Any format</option>
    <option>Book</option>
    <option>DVD</option>
    <option>Audiobook</option>
  </select>
  <select name="branch">
    <option value="all" selected>All branches</option>
    <option>Harbour Street</option>
    <option>Mill Lane</option>
  </select>
  <input type="radio" name="scope" value="keyword" checked> Keyword
  <input type="radio" name="scope" value="title"> Title
  <input type="radio" name="scope" value="author"> Author
  <input type="submit" value="Search">
</form>
</body>
</html>
"""

CSS = b"""/* Northfield Library loans: site style */
body { font-family: Georgia, serif; margin: 2em; color: #1f2a33; }
h1 { color: #1f4e79; }
form label { display: block; margin: 0.4em 0; }
"""

SIGNED_OUT = page("Signed out - Northfield Library",
                  "<p>You have signed out. Thank you for visiting Northfield Library.</p>\n"
                  '<p><a href="/">Home</a></p>\n')

HOURS = page("Opening hours - Northfield Library",
             "<h1>Opening hours</h1>\n<ul>\n"
             "  <li>Harbour Street: Monday to Saturday, 9:00 to 19:00</li>\n"
             "  <li>Mill Lane: Tuesday to Saturday, 10:00 to 17:00</li>\n</ul>\n"
             '<p><a href="/">Home</a></p>\n')


def png_logo():
    """A small PNG: the recorded logo when the recording is there, else a
    1x1 pixel of the same kind."""
    recorded = os.path.join(FOLDER, "data", "t1_northfield-logo.png")
    try:
        with open(recorded, "rb") as f:
            return f.read()
    except OSError:
        return bytes.fromhex("89504e470d0a1a0a0000000d4948445200000001000000010806000000"
                             "1f15c4890000000d49444154789c6360f8cfc0f01f0005000201a7"
                             "d8b1a70000000049454e44ae426082")


def account_page(patron, loans_count):
    # The recorded account page comes in two forms (t2 after sign-in, t9
    # later); this one carries the links of both and the summary line.
    return page("Your account - Northfield Library",
                "<p>Signed in as <b>%s</b></p>\n"
                "<ul>\n"
                '  <li><a href="/account/loans">My loans</a></li>\n'
                '  <li><a href="/account/holds">My holds</a></li>\n'
                '  <li><a href="/catalogue/">Catalogue</a></li>\n'
                '  <li><a href="/signout">Sign out</a></li>\n'
                "</ul>\n"
                "<p>%d loans, 0 holds, no fines.</p>\n" % (esc_text(patron.name), loans_count))


def loans_page(library, patron, token):
    rows = "".join('  <tr data-loan="%s"><td>%s</td><td>due %s</td></tr>\n'
                   % (esc(l.id), esc_text(l.title), library.due(l).isoformat()) for l in patron.loans)
    options = "".join('    <option value="%s">%s</option>\n' % (esc(l.id), esc_text(l.title))
                      for l in patron.loans)
    return page("My loans - Northfield Library",
                "<h1>Your loans</h1>\n<table>\n%s</table>\n"
                '<form name="renew" action="/account/loans/renew" method="post">\n'
                '  <input type="hidden" name="csrf" value="%s">\n'
                '  <select name="loan">\n%s  </select>\n'
                '  <select name="weeks"><option>1</option><option>2</option>'
                "<option selected>3</option></select>\n"
                '  <input type="submit" value="Renew">\n'
                "</form>\n"
                '<p><a href="/catalogue/">Catalogue</a> | <a href="/signout">Sign out</a></p>\n'
                % (rows, esc(token), options))


def words(text):
    return [w for w in "".join(c.lower() if c.isalnum() else " " for c in text).split()
            if w not in STOPWORDS]


def search(q, fmt, branch, scope):
    """Records with at least half of the query's words (a query word matches
    a record word it is the start of: "tide" finds "tides"), best first."""
    wanted = words(q)
    found = []
    for rec in CATALOGUE:
        rid, title, author, rformat, branches = rec
        if fmt and rformat != fmt or branch != "all" and branch not in branches:
            continue
        text = {"title": title, "author": author}.get(scope, title + " " + author)
        have = words(text)
        hits = sum(1 for w in wanted if any(h.startswith(w) for h in have))
        if wanted and hits * 2 >= len(wanted):
            found.append((-hits, rid, rec))
    return [rec for _, _, rec in sorted(found)]


def results_page(q, found):
    items = "".join('  <li><a href="/catalogue/record/%s">%s</a></li>\n' % (rid, esc_text(title))
                    for rid, title, _, _, _ in found)
    count = "%d result%s" % (len(found), "" if len(found) == 1 else "s")
    return page("Search results - Northfield Library",
                "<p>%s for <q>%s</q></p>\n<ol>\n%s</ol>\n" % (count, esc_text(q), items))


def record_page(rec):
    rid, title, author, fmt, branches = rec
    return page("%s - Northfield Library" % title,
                "<h1>%s</h1>\n<p>%s. %s, at %s.</p>\n"
                '<p><a href="/catalogue/">Catalogue</a></p>\n'
                % (esc_text(title), esc_text(author), esc_text(fmt), esc_text(" and ".join(branches))))


def new_arrivals_page():
    by_id = {rec[0]: rec for rec in CATALOGUE}
    items = "".join('  <li><a href="/catalogue/record/%s" target="_top">%s</a></li>\n'
                    % (rid, esc_text(by_id[rid][1])) for rid in NEW_ARRIVALS)
    return ("<html>\n<head><title>New arrivals</title></head>\n<body>\n<ul>\n%s</ul>\n"
            "</body>\n</html>\n" % items).encode("utf-8")


# --- HTTP -------------------------------------------------------------------------

class BadRequest(Exception):
    def __init__(self, status, text):
        super().__init__(text)
        self.status = status
        self.text = text


class Handler(BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    server_version = "northfield-web/2.4"
    sys_version = ""
    # Headers and body go out in one write, and small answers are not held
    # back by Nagle's algorithm waiting for the client's delayed ACK.
    disable_nagle_algorithm = True
    # An idle keep-alive connection ends after this, with its thread.
    timeout = 60

    def setup(self):
        super().setup()
        if isinstance(self.connection, ssl.SSLSocket):
            # The TLS handshake runs here, on the connection's own thread,
            # not in the accepting loop.
            self.connection.do_handshake()

    # Quiet unless --verbose: one line per request then.
    def log_message(self, fmt, *args):
        if self.server.verbose:
            sys.stderr.write("%s %s\n" % (self.address_string(), fmt % args))

    def log_request(self, code="-", size="-"):
        if self.server.verbose:
            self.log_message('"%s" %s %s', self.requestline, code, size)

    def do_GET(self):
        self.dispatch("GET")

    def do_HEAD(self):
        self.dispatch("HEAD")

    def do_POST(self):
        self.dispatch("POST")

    def dispatch(self, method):
        self.extra_headers = []
        try:
            url = urlsplit(self.path)
            self.query = url.query
            route = ROUTES.get(url.path)
            if route is None:
                rid = url.path[len("/catalogue/record/"):] \
                    if url.path.startswith("/catalogue/record/") else None
                rec = next((r for r in CATALOGUE if r[0] == rid), None)
                if rec is None:
                    raise BadRequest(404, "Not found: there is no page at %s." % url.path)
                if method == "POST":
                    self.extra_headers.append(("Allow", "GET"))
                    raise BadRequest(405, "Method not allowed: %s takes GET, not POST."
                                     % url.path)
                return self.reply(200, record_page(rec), "text/html; charset=utf-8", method)
            allowed, function = route
            if method == "HEAD" and "GET" in allowed:
                pass
            elif method not in allowed:
                self.extra_headers.append(("Allow", ", ".join(allowed)))
                raise BadRequest(405, "Method not allowed: %s takes %s, not %s."
                                 % (url.path, " or ".join(allowed), method))
            body = self.read_body() if method == "POST" else b""
            status, content, ctype = function(self, body)
            self.reply(status, content, ctype, method)
        except BadRequest as e:
            if self.path.startswith("/api/"):
                self.reply(e.status, json.dumps({"error": e.text}).encode("utf-8"),
                           "application/json", method)
            else:
                self.reply(e.status, (e.text + "\n").encode("utf-8"),
                           "text/plain; charset=utf-8", method)
        except (ConnectionError, socket.timeout, ssl.SSLError):
            self.close_connection = True
        except Exception:
            import traceback
            traceback.print_exc()
            self.close_connection = True
            self.reply(500, b"Internal error of the example server (see its standard error).\n",
                       "text/plain; charset=utf-8", method)

    def read_body(self):
        if "chunked" in self.headers.get("Transfer-Encoding", "").lower():
            return self.read_chunked()
        length = self.headers.get("Content-Length")
        if length is None:
            return b""
        if not length.strip().isdigit():
            self.close_connection = True
            raise BadRequest(400, "Bad request: Content-Length %r is not a number." % length)
        n = int(length)
        if n > MAX_BODY:
            self.close_connection = True
            raise BadRequest(413, "Request body too large: %d bytes, at most %d." % (n, MAX_BODY))
        body = self.rfile.read(n)
        if len(body) != n:
            self.close_connection = True
            raise BadRequest(400, "Bad request: the body ended after %d of %d bytes."
                             % (len(body), n))
        return body

    def read_chunked(self):
        parts, total = [], 0
        while True:
            line = self.rfile.readline(100)
            try:
                size = int(line.split(b";")[0].strip(), 16)
            except ValueError:
                self.close_connection = True
                raise BadRequest(400, "Bad request: a chunk size is not hexadecimal.")
            if size == 0:
                while self.rfile.readline(1000).strip():
                    pass
                return b"".join(parts)
            total += size
            if total > MAX_BODY:
                self.close_connection = True
                raise BadRequest(413, "Request body too large: more than %d bytes." % MAX_BODY)
            parts.append(self.rfile.read(size))
            self.rfile.readline(10)

    def reply(self, status, body, ctype, method="GET", cache="no-store"):
        reason = self.responses.get(status, ("",))[0]
        head = ["HTTP/1.1 %d %s" % (status, reason),
                "Date: " + self.date_time_string(),
                "Server: " + self.server_version,
                "Content-Type: " + ctype,
                "Content-Length: %d" % len(body),
                "Cache-Control: " + cache]
        head += ["%s: %s" % kv for kv in self.extra_headers]
        if self.close_connection:
            head.append("Connection: close")
        data = ("\r\n".join(head) + "\r\n\r\n").encode("latin-1")
        if method != "HEAD":
            data += body
        self.wfile.write(data)
        self.log_request(status, len(body))

    # --- the session ---

    def session_id(self):
        for part in self.headers.get("Cookie", "").split(";"):
            name, _, value = part.strip().partition("=")
            if name == COOKIE:
                return value
        return None

    def set_cookie(self, sid):
        secure = "; Secure" if self.server.tls else ""
        if sid:
            value = "%s=%s; Path=/%s; HttpOnly" % (COOKIE, sid, secure)
        else:
            value = "%s=; Max-Age=0; Path=/%s; HttpOnly" % (COOKIE, secure)
        self.extra_headers.append(("Set-Cookie", value))

    def signed_in(self):
        session = self.server.library.session(self.session_id())
        if session is None or session.patron is None:
            raise BadRequest(403, "Forbidden: you are not signed in (or your session has "
                                  "ended); sign in on the home page first.")
        return session

    def form(self, body):
        ctype = self.headers.get("Content-Type", "")
        if not ctype.lower().startswith("application/x-www-form-urlencoded"):
            raise BadRequest(415, "Unsupported form encoding %r: send "
                                  "application/x-www-form-urlencoded." % ctype)
        try:
            fields = parse_qs(body.decode("utf-8"), keep_blank_values=True)
        except UnicodeDecodeError:
            raise BadRequest(400, "Bad request: the form is not UTF-8.")
        return {k: v[0] for k, v in fields.items()}

    def check_token(self, session, fields):
        sent = fields.get("csrf", "")
        if session is None or not hmac.compare_digest(sent.encode("utf-8", "replace"),
                                                      session.token.encode()):
            raise BadRequest(403, "Forbidden: the form token is missing or wrong.")

    def json_body(self, body):
        try:
            value = json.loads(body.decode("utf-8"))
        except (UnicodeDecodeError, ValueError) as e:
            raise BadRequest(400, "the body is not JSON: %s" % e)
        if not isinstance(value, dict):
            raise BadRequest(400, "the body must be a JSON object")
        return value


HTML = "text/html; charset=utf-8"


def get_home(h, body):
    library = h.server.library
    session = library.session(h.session_id())
    if session is None:
        sid, session = library.new_session()
        h.set_cookie(sid)
    return 200, (HOME % session.token).encode("utf-8"), HTML


def post_signin(h, body):
    library = h.server.library
    old_sid = h.session_id()
    session = library.session(old_sid)
    fields = h.form(body)
    h.check_token(session, fields)
    card, pin = fields.get("card"), fields.get("pin")
    if card is None or pin is None:
        raise BadRequest(400, "Bad request: the sign-in form needs the fields card and pin.")
    patron = None
    if card.isdigit() and pin.isdigit():
        patron = library.patron_for(card, pin)
    if patron is None:
        raise BadRequest(403, "Forbidden: the card number or PIN is wrong.")
    h.set_cookie(library.sign_in(old_sid, session, patron))
    h.extra_headers.append(("Location", "/account"))
    return 302, b"", HTML


def get_account(h, body):
    session = h.signed_in()
    return 200, account_page(session.patron, len(session.patron.loans)), HTML


def get_holds(h, body):
    h.signed_in()
    return 200, page("My holds - Northfield Library",
                     "<p>You have no holds.</p>\n"
                     '<p><a href="/account">Back to your account</a></p>\n'), HTML


def get_loans(h, body):
    session = h.signed_in()
    return 200, loans_page(h.server.library, session.patron, session.token), HTML


def patron_loan(session, loan_id):
    loan = session.patron.by_id.get(loan_id)
    if loan is None:
        raise BadRequest(409, "Conflict: %r is not a loan of %s (the loans are %s)."
                         % (loan_id, session.patron.name,
                            ", ".join(l.id for l in session.patron.loans)))
    return loan


def post_renew(h, body):
    session = h.signed_in()
    fields = h.form(body)
    h.check_token(session, fields)
    loan = patron_loan(session, fields.get("loan", ""))
    weeks = fields.get("weeks", "")
    if weeks not in ("1", "2", "3"):
        raise BadRequest(400, "Bad request: weeks must be 1, 2 or 3, not %r." % weeks)
    due = h.server.library.renew(loan, int(weeks))
    return 200, page("Renewal - Northfield Library",
                     "<p>%s: Renewed until %s.</p>\n"
                     '<p><a href="/account">Back to your account</a> | '
                     '<a href="/account/loans">My loans</a></p>\n'
                     % (esc_text(loan.title), due.isoformat())), HTML


def post_reminder(h, body):
    session = h.signed_in()
    value = h.json_body(body)
    loan = patron_loan(session, value.get("loan"))
    channel = value.get("channel")
    if channel not in ("email", "sms"):
        raise BadRequest(400, "channel must be \"email\" or \"sms\", not %s" % json.dumps(channel))
    days = value.get("daysBefore")
    if type(days) is not int or not 0 <= days <= 14:
        raise BadRequest(400, "daysBefore must be a whole number from 0 to 14, not %s"
                         % json.dumps(days))
    send_on = h.server.library.due(loan) - datetime.timedelta(days=days)
    answer = {"id": "R-%d" % next(h.server.library.reminder_ids), "loan": loan.id,
              "channel": channel, "sendOn": send_on.isoformat()}
    return 201, json.dumps(answer, separators=(",", ":")).encode("utf-8"), "application/json"


def post_reading_log(h, body):
    h.signed_in()
    if not body.startswith(b"NFLG"):
        raise BadRequest(400, "a reading log starts with the bytes NFLG")
    if len(body) > 0xFFFF:
        raise BadRequest(413, "a reading log has at most 65535 bytes")
    # The acknowledgement as recorded: NFOK, one log taken, the bytes read.
    return 200, b"NFOK\x00\x01" + len(body).to_bytes(2, "big"), "application/octet-stream"


def get_signout(h, body):
    h.server.library.end(h.session_id())
    h.set_cookie(None)
    return 200, SIGNED_OUT, HTML


def get_catalogue_bare(h, body):
    h.extra_headers.append(("Location", "/catalogue/"))
    return 301, b"", HTML


def get_results(h, body):
    try:
        params = parse_qs(h.query, keep_blank_values=True, strict_parsing=False,
                          errors="strict")
    except UnicodeDecodeError:
        raise BadRequest(400, "Bad request: the query is not UTF-8.")
    one = {k: v[0] for k, v in params.items()}
    if "q" not in one:
        raise BadRequest(400, "Bad request: a search needs q (the words to look for).")
    for name, allowed, default in (("format", FORMATS, ""), ("branch", BRANCHES, "all"),
                                   ("scope", SCOPES, "keyword")):
        one.setdefault(name, default)
        if one[name] not in allowed:
            raise BadRequest(400, "Bad request: %s must be one of %s, not %r."
                             % (name, ", ".join(repr(a) for a in allowed), one[name]))
    found = search(one["q"], one["format"], one["branch"], one["scope"])
    return 200, results_page(one["q"], found), HTML


def static(content, ctype):
    return lambda h, body: (200, content, ctype)


ROUTES = {}


def build_routes():
    logo = png_logo()
    new = new_arrivals_page()
    ROUTES.update({
        "/": (("GET",), get_home),
        "/signin": (("POST",), post_signin),
        "/account": (("GET",), get_account),
        "/account/holds": (("GET",), get_holds),
        "/account/loans": (("GET",), get_loans),
        "/account/loans/renew": (("POST",), post_renew),
        "/api/v1/reminders": (("POST",), post_reminder),
        "/api/v1/reading-log": (("POST",), post_reading_log),
        "/signout": (("GET",), get_signout),
        "/hours": (("GET",), static(HOURS, HTML)),
        "/catalogue": (("GET",), get_catalogue_bare),
        "/catalogue/": (("GET",), static(FRAMESET, HTML)),
        "/catalogue/nav.html": (("GET",), static(NAV, HTML)),
        "/catalogue/search.html": (("GET",), static(SEARCH, HTML)),
        "/catalogue/new.html": (("GET",), static(new, HTML)),
        "/catalogue/results": (("GET",), get_results),
        "/static/site.css": (("GET",), static(CSS, "text/css")),
        "/static/northfield-logo.png": (("GET",), static(logo, "image/png")),
    })


class Server(ThreadingHTTPServer):
    daemon_threads = True
    allow_reuse_address = True
    # Many users connect at once at the start of a load test.
    request_queue_size = 1024

    def handle_error(self, request, client_address):
        # A client that hangs up or speaks no TLS is not the server's error.
        if self.verbose:
            super().handle_error(request, client_address)


def make_certificate(directory):
    cert, key = os.path.join(directory, "cert.pem"), os.path.join(directory, "key.pem")
    command = ["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt",
               "ec_paramgen_curve:prime256v1", "-nodes", "-keyout", key, "-out", cert,
               "-days", "7", "-subj", "/CN=" + TLS_NAME,
               "-addext", "subjectAltName=DNS:" + TLS_NAME]
    try:
        done = subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    except FileNotFoundError:
        raise SystemExit("server.py: --tls needs the openssl command, which is not installed")
    if done.returncode != 0:
        raise SystemExit("server.py: openssl could not make the certificate: "
                         + done.stderr.decode("utf-8", "replace").strip())
    return cert, key


def main(argv=None):
    parser = argparse.ArgumentParser(
        description="The Northfield Library loan service of examples/library-loans, live.",
        epilog="Prints one line 'listening on HOST:PORT' when ready; SIGTERM or SIGINT stop it.")
    parser.add_argument("--host", default="127.0.0.1", help="address to listen on (default 127.0.0.1)")
    parser.add_argument("--port", type=int, default=0,
                        help="port to listen on; 0 (the default) picks a free one")
    parser.add_argument("--tls", action="store_true",
                        help="serve HTTPS with a self-signed certificate for loans.example.org "
                             "(made with openssl at start, removed at exit)")
    parser.add_argument("--patrons", default=os.path.join(FOLDER, "patrons.dat"),
                        help="the patron table (default: the folder's patrons.dat)")
    parser.add_argument("--strict-cards", action="store_true",
                        help="sign in only with the card and PIN of one row (default: any card "
                             "number with the PIN of a row)")
    parser.add_argument("--verbose", action="store_true", help="one line per request on stderr")
    args = parser.parse_args(argv)
    if not 0 <= args.port <= 65535:
        parser.error("--port takes 0 to 65535, not %d" % args.port)

    # The stop signals are blocked from the start, in every thread (threads
    # inherit the mask), and taken by sigwait in the main thread once serving:
    # no handler runs inside a lock, and a stop during the start (openssl
    # running) waits until the certificate's folder can be removed.
    stops = {signal.SIGTERM, signal.SIGINT}
    signal.pthread_sigmask(signal.SIG_BLOCK, stops)
    library = Library(read_patrons(args.patrons), args.strict_cards)
    build_routes()

    tmp = tempfile.mkdtemp(prefix="library-loans-server-") if args.tls else None
    try:
        Server.address_family = socket.AF_INET6 if ":" in args.host else socket.AF_INET
        try:
            server = Server((args.host, args.port), Handler)
        except OSError as e:
            raise SystemExit("server.py: cannot listen on %s:%d: %s"
                             % (args.host, args.port, e.strerror or e))
        server.library = library
        server.verbose = args.verbose
        server.tls = args.tls
        if args.tls:
            cert, key = make_certificate(tmp)
            context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            context.load_cert_chain(cert, key)
            context.set_alpn_protocols(["http/1.1"])
            server.socket = context.wrap_socket(server.socket, server_side=True,
                                                do_handshake_on_connect=False)
            # The key is in memory now; nothing needs the files any more.
            shutil.rmtree(tmp, ignore_errors=True)

        worker = threading.Thread(target=server.serve_forever, name="accept", daemon=True)
        worker.start()
        print("listening on %s:%d" % (args.host, server.server_address[1]), flush=True)
        signal.sigwait(stops)
        server.shutdown()
        server.server_close()
    finally:
        if tmp:
            shutil.rmtree(tmp, ignore_errors=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())

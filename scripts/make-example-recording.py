#!/usr/bin/env python3
"""Write the recording of the example script folders from a small description.

For every navigation step of examples/library-loans and
examples/northfield-branches this writes what the recording tool leaves under
data/: the step's tN.inf, its snapshot_N.xml with one HTTPTask per exchange
(Primary, Redirection, HTML, ExtraRes), and the raw request header, response
header and request body files the .inf names. The pages, frames, resources
and API answers themselves are written by hand and only read here: they are
the response bodies.

Usage: scripts/make-example-recording.py [--check]
  --check  write nothing; exit 1 when a generated file differs from the one in
           the tree (so that a test or a reviewer can see they are in step).

The descriptions below are the recording: every Primary request is exactly
what the script sends (method, absolute URL, body), with the values the
parameters had while recording in place of the references.
"""

import base64
import datetime
import os
import sys
from xml.sax.saxutils import escape, quoteattr

ROOT = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))

HTML_ACCEPT = "text/html,application/xhtml+xml,application/xml;q=0.9,*/*;q=0.8"
CSS_ACCEPT = "text/css,*/*;q=0.1"
IMAGE_ACCEPT = "image/avif,image/webp,image/png,image/*;q=0.8,*/*;q=0.5"
FONT_ACCEPT = "application/font-woff2;q=1.0,application/font-woff;q=0.9,*/*;q=0.8"
ANY_ACCEPT = "*/*"
FORM_TYPE = "application/x-www-form-urlencoded"

# Bodies longer than this are written as several HTTPData elements, as large
# recordings do; readers must concatenate them.
CHUNK = 512


class Exchange:
    """One request and its response, as one HTTPTask of a snapshot."""

    def __init__(self, method, url, origin, frame="1", referer=None, accept=HTML_ACCEPT,
                 body=b"", content_type=None, status=200, reason="OK", response_type=None,
                 response_file=None, response_body=b"", set_cookie=(), location=None,
                 cache="no-store", extra_headers=()):
        self.method = method
        self.url = url
        self.origin = origin
        self.frame = frame
        self.referer = referer
        self.accept = accept
        self.body = body
        self.content_type = content_type
        self.status = status
        self.reason = reason
        self.response_type = response_type
        self.response_file = response_file
        self.response_body = response_body
        self.set_cookie = list(set_cookie)
        self.location = location
        self.cache = cache
        self.extra_headers = list(extra_headers)


class Step:
    """One navigation step: its exchanges and what its tN.inf lists."""

    def __init__(self, n, exchanges, document, frames=(), resources=(), xml=True):
        self.n = n
        self.exchanges = exchanges
        # (file, url, content type) of the page or answer the step shows.
        self.document = document
        # (frame index, file, url) of every frame, in document order.
        self.frames = list(frames)
        # (file, url) of every resource kept.
        self.resources = list(resources)
        self.xml = xml


def split_url(url):
    scheme, rest = url.split("://", 1)
    hostport, _, path = rest.partition("/")
    path = "/" + path
    host, _, port = hostport.partition(":")
    port = int(port) if port else (443 if scheme == "https" else 80)
    path_only, _, query = path.partition("?")
    return host, port, path, path_only, query


class Recorder:
    """Replays the description through a browser's bookkeeping: the cookie
    jar, the clock, the task numbers."""

    def __init__(self, folder, user_agent, language, start, first_task):
        self.folder = folder
        self.data = os.path.join(ROOT, "examples", folder, "data")
        self.user_agent = user_agent
        self.language = language
        self.clock = start
        self.task_id = first_task
        self.jar = {}
        self.files = {}

    def read(self, name):
        with open(os.path.join(self.data, name), "rb") as f:
            return f.read()

    def request_headers(self, ex, one_shot):
        host, port, _, _, _ = split_url(ex.url)
        headers = [("Host", host if port in (80, 443) else "%s:%d" % (host, port)),
                   ("User-Agent", self.user_agent),
                   ("Accept", ex.accept)]
        if self.language:
            headers.append(("Accept-Language", self.language))
        headers += one_shot
        if ex.referer:
            headers.append(("Referer", ex.referer))
        if self.jar:
            headers.append(("Cookie", "; ".join("%s=%s" % kv for kv in self.jar.items())))
        if ex.method in ("POST", "PUT"):
            headers.append(("Content-Type", ex.content_type or FORM_TYPE))
            headers.append(("Content-Length", str(len(ex.body))))
        headers.append(("Connection", "keep-alive"))
        return headers

    def response_headers(self, ex, body):
        headers = [("Date", self.clock.strftime("%a, %d %b %Y %H:%M:%S GMT")),
                   ("Server", "northfield-web/2.4")]
        if ex.location:
            headers.append(("Location", ex.location))
        if ex.response_type:
            headers.append(("Content-Type", ex.response_type))
        headers.append(("Content-Length", str(len(body))))
        headers.append(("Cache-Control", ex.cache))
        for cookie in ex.set_cookie:
            headers.append(("Set-Cookie", cookie))
        return headers

    def keep_cookies(self, ex):
        for cookie in ex.set_cookie:
            pair = cookie.split(";", 1)[0]
            name, _, value = pair.partition("=")
            attributes = [a.strip().lower() for a in cookie.split(";")[1:]]
            if "max-age=0" in attributes:
                self.jar.pop(name, None)
            else:
                self.jar[name] = value

    def write(self, name, content):
        self.files[os.path.join(self.data, name)] = content

    def step(self, step):
        tasks = []
        first_request = page_response = None
        for i, ex in enumerate(step.exchanges):
            one_shot = ex.extra_headers
            req = self.request_headers(ex, one_shot)
            body = ex.response_body
            if ex.response_file:
                body = self.read(ex.response_file)
            resp = self.response_headers(ex, body)
            self.keep_cookies(ex)
            _, _, path, _, _ = split_url(ex.url)
            request_line = "%s %s HTTP/1.1" % (ex.method, path)
            status_line = "HTTP/1.1 %d %s" % (ex.status, ex.reason)
            tasks.append(self.task(ex, req, request_line, resp, status_line, body))
            if i == 0:
                first_request = raw_block(request_line, req)
            if ex.origin in ("Primary", "Redirection"):
                # The header file holds the answer that delivered the page.
                page_response = raw_block(status_line, resp)
            self.clock += datetime.timedelta(milliseconds=180)
        self.clock += datetime.timedelta(seconds=6)

        n = step.n
        primary = step.exchanges[0]
        lines = ["[t%d]" % n]
        doc_file, doc_url, doc_type = step.document
        entries = [(doc_file, doc_url, None)]
        entries += [(f, u, idx) for idx, f, u in step.frames]
        entries += [(f, u, None) for f, u in step.resources]
        lines.append("FileName1=%s" % doc_file)
        lines.append("URL1=%s" % doc_url)
        lines.append("Total=%d" % len(entries))
        if step.xml:
            lines.append("RequestHeaderFile=t%d_RequestHeader.txt" % n)
            lines.append("RequestBodyFile=%s" %
                         ("t%d_RequestBody.txt" % n if primary.body else "NONE"))
            lines.append("ResponseHeaderFile=t%d_ResponseHeader.txt" % n)
        lines.append("ContentType=%s" % doc_type)
        if step.xml:
            lines.append("SnapshotXmlFile=snapshot_%d.xml" % n)
        for k, (f, u, idx) in enumerate(entries[1:], start=2):
            lines.append("FileName%d=%s" % (k, f))
            lines.append("URL%d=%s" % (k, u))
            if idx is not None:
                lines.append("FrameIndex%d=%s" % (k, idx))
                if k == 2:
                    lines.append("UseFrameIndex=1")
        self.write("t%d.inf" % n, ("\r\n".join(lines) + "\r\n").encode())
        if not step.xml:
            return
        self.write("t%d_RequestHeader.txt" % n, first_request)
        self.write("t%d_ResponseHeader.txt" % n, page_response)
        if primary.body:
            self.write("t%d_RequestBody.txt" % n, primary.body)
        xml = ['<?xml version="1.0" encoding="UTF-8"?>', '<HTTPSnapshot id="%d">' % n]
        xml += tasks
        xml.append("</HTTPSnapshot>")
        self.write("snapshot_%d.xml" % n, ("\n".join(xml) + "\n").encode())

    def task(self, ex, req, request_line, resp, status_line, body):
        host, port, _, path_only, query = split_url(ex.url)
        self.task_id += 1
        out = ["  <HTTPTask id=\"%d\" url=%s hostname=%s port=\"%d\" path=%s origin=\"%s\" "
               "frame=\"%s\">" % (self.task_id, quoteattr(ex.url), quoteattr(host), port,
                                   quoteattr(path_only), ex.origin, ex.frame)]
        out.append('    <HTTPRequest method="%s">' % ex.method)
        out += headers_xml(req, 6)
        out += data_element("HTTPAllHeaders", raw_block(request_line, req), 6)
        if query:
            out += data_element("QueryString", query.encode(), 6)
        if ex.body:
            out += data_element("HTTPBody", ex.body, 6)
        out.append("    </HTTPRequest>")
        out.append("    <HTTPResponse>")
        out += headers_xml(resp, 6)
        out += data_element("HTTPAllHeaders", raw_block(status_line, resp), 6)
        if body:
            out += data_element("HTTPBody", body, 6)
        else:
            out.append("      <HTTPBody/>")
        out.append("    </HTTPResponse>")
        out.append("  </HTTPTask>")
        return "\n".join(out)


def b64(data):
    return base64.b64encode(data).decode("ascii")


def raw_block(first_line, headers):
    text = first_line + "\r\n" + "".join("%s: %s\r\n" % h for h in headers) + "\r\n"
    return text.encode("utf-8")


def headers_xml(headers, indent):
    pad = " " * indent
    out = [pad + "<HTTPHeaders>"]
    seen = {}
    for name, value in headers:
        index = seen.get(name.lower(), 0)
        seen[name.lower()] = index + 1
        out.append('%s  <HTTPHeaderEntity name=%s index="%d">' % (pad, quoteattr(name), index))
        out.append('%s    <HTTPDataSet><HTTPData dfeDataType="Raw" sectionDataType="1">'
                   % pad)
        out.append("%s      <ActualData>%s</ActualData>" % (pad, b64(value.encode("utf-8"))))
        out.append("%s    </HTTPData></HTTPDataSet>" % pad)
        out.append(pad + "  </HTTPHeaderEntity>")
    out.append(pad + "</HTTPHeaders>")
    return out


def data_element(tag, data, indent):
    pad = " " * indent
    out = ["%s<%s><HTTPDataSet>" % (pad, tag)]
    for start in range(0, len(data), CHUNK):
        out.append("%s  <HTTPData><ActualData>%s</ActualData></HTTPData>"
                   % (pad, b64(data[start:start + CHUNK])))
    out.append("%s</HTTPDataSet></%s>" % (pad, tag))
    return out


def page(method, url, referer, file, **kw):
    """A page step's own request, answered with the page file."""
    return Exchange(method, url, "Primary", referer=referer, response_type=kw.pop(
        "response_type", "text/html; charset=utf-8"), response_file=file, **kw)


def frame(url, frame_id, referer, file):
    return Exchange("GET", url, "HTML", frame=frame_id, referer=referer,
                    response_type="text/html; charset=utf-8", response_file=file)


def resource(url, origin, referer, file, accept, content_type):
    return Exchange("GET", url, origin, referer=referer, accept=accept,
                    response_type=content_type, response_file=file,
                    cache="public, max-age=86400")


# --- examples/library-loans ------------------------------------------------

def library_loans():
    base = "https://loans.example.org"
    rec = Recorder("library-loans", "Mozilla/5.0 (X11; Linux x86_64) NorthfieldLoansTest/1.0",
                   "en-GB,en;q=0.8", datetime.datetime(2026, 11, 16, 9, 41, 7), 100)
    session = "NFSESSION=3b8e0c51d7a94f26; Path=/; Secure; HttpOnly"
    steps = [
        # init.c: the home page, its stylesheet and logo (named by the page;
        # the step's EXTRARES names the same two, and a browser fetches each
        # address once, so the recording has them as HTML tasks).
        Step(1, [page("GET", base + "/", None, "t1.html"),
                 resource(base + "/static/site.css", "HTML", base + "/", "t1_site.css",
                          CSS_ACCEPT, "text/css"),
                 resource(base + "/static/northfield-logo.png", "HTML", base + "/",
                          "t1_northfield-logo.png", IMAGE_ACCEPT, "image/png")],
             ("t1.html", base + "/", "text/html"),
             resources=[("t1_site.css", base + "/static/site.css"),
                        ("t1_northfield-logo.png", base + "/static/northfield-logo.png")]),
        # The sign-in form: the POST is answered 302 with the session cookie,
        # the browser follows it to the account page (t2.html).
        Step(2, [Exchange("POST", base + "/signin", "Primary", referer=base + "/",
                          body=b"csrf=7f3c9a1e5b2d4680&card=29000012345678&pin=4071",
                          content_type=FORM_TYPE, status=302, reason="Found",
                          location="/account", set_cookie=[session]),
                 Exchange("GET", base + "/account", "Redirection", referer=base + "/",
                          response_type="text/html; charset=utf-8", response_file="t2.html")],
             ("t2.html", base + "/account", "text/html")),
        # loans.c
        Step(3, [page("GET", base + "/account/loans", base + "/account", "t3.html")],
             ("t3.html", base + "/account/loans", "text/html")),
        Step(4, [page("GET", base + "/catalogue/", base + "/account/loans", "t4.html"),
                 frame(base + "/catalogue/nav.html", "1.1", base + "/catalogue/", "t4f0.html"),
                 frame(base + "/catalogue/search.html", "1.2", base + "/catalogue/",
                       "t4f1.html")],
             ("t4.html", base + "/catalogue/", "text/html"),
             frames=[("0.0", "t4f0.html", base + "/catalogue/nav.html"),
                     ("0.1", "t4f1.html", base + "/catalogue/search.html")]),
        Step(5, [page("GET", base + "/catalogue/results?lang=en&page=1&view=list"
                      "&q=tide+tables+of+the+north+sea&format=Book&branch=Harbour+Street"
                      "&scope=title", base + "/catalogue/search.html", "t5.html")],
             ("t5.html", base + "/catalogue/results?lang=en&page=1&view=list"
              "&q=tide+tables+of+the+north+sea&format=Book&branch=Harbour+Street&scope=title",
              "text/html")),
        Step(6, [page("POST", base + "/account/loans/renew", base + "/account/loans", "t6.html",
                      body=b"loan=L-40211&weeks=3&csrf=7f3c9a1e5b2d4680",
                      content_type=FORM_TYPE)],
             ("t6.html", base + "/account/loans/renew", "text/html")),
        Step(7, [Exchange("POST", base + "/api/v1/reminders", "Primary",
                          referer=base + "/account/loans", accept=ANY_ACCEPT,
                          body=b'{"loan":"L-40211","channel":"email","daysBefore":2}',
                          content_type="application/json", status=201, reason="Created",
                          response_type="application/json", response_file="t7.json")],
             ("t7.json", base + "/api/v1/reminders", "application/json")),
        Step(8, [Exchange("POST", base + "/api/v1/reading-log", "Primary",
                          referer=base + "/account/loans", accept=ANY_ACCEPT,
                          body=b"NFLG\x01\x00\x02\x1ftide tables\x1e\xff",
                          content_type="application/octet-stream",
                          response_type="application/octet-stream", response_file="t8.bin")],
             ("t8.bin", base + "/api/v1/reading-log", "application/octet-stream")),
        # end.c
        Step(9, [page("GET", base + "/account", base + "/account/loans/renew", "t9.html")],
             ("t9.html", base + "/account", "text/html")),
        Step(10, [page("GET", base + "/signout", base + "/account", "t10.html",
                       set_cookie=["NFSESSION=; Max-Age=0; Path=/; Secure; HttpOnly"])],
             ("t10.html", base + "/signout", "text/html")),
    ]
    for s in steps:
        rec.step(s)
    return rec.files


# --- examples/northfield-branches ------------------------------------------

def northfield_branches():
    base = "https://branches.example.org"
    rec = Recorder("northfield-branches",
                   "Mozilla/5.0 (X11; Linux x86_64) NorthfieldBranchesTest/2.1",
                   "en-GB,en;q=0.8", datetime.datetime(2026, 11, 17, 14, 5, 31), 400)
    shelves = base + "/branches/mill-lane/shelves"
    new = base + "/branches/harbour-street/new"
    search = shelves + "/search?branch=mill-lane&q=mills&sort=title&available=1"
    steps = [
        # init.c: the page names the stylesheet and the crest; the font is
        # loaded by the stylesheet, which is why the script lists it in
        # EXTRARES.
        Step(1, [page("GET", base + "/", None, "t1.htm"),
                 resource(base + "/static/branches.css", "HTML", base + "/", "t1_branches.css",
                          CSS_ACCEPT, "text/css"),
                 resource(base + "/static/crest.gif", "HTML", base + "/", "t1_crest.gif",
                          IMAGE_ACCEPT, "image/gif"),
                 resource(base + "/static/fonts/northfield.woff2", "ExtraRes",
                          base + "/static/branches.css", "t1_northfield.woff2", FONT_ACCEPT,
                          "font/woff2")],
             ("t1.htm", base + "/", "text/html"),
             resources=[("t1_branches.css", base + "/static/branches.css"),
                        ("t1_crest.gif", base + "/static/crest.gif"),
                        ("t1_northfield.woff2", base + "/static/fonts/northfield.woff2")]),
        Step(2, [Exchange("POST", base + "/session", "Primary", referer=base + "/",
                          body=b"token=c41d2e9b7a605f38&next=%2Fstart&card=29000022223333"
                               b"&pin=1847",
                          content_type=FORM_TYPE, status=303, reason="See Other",
                          location=base + "/start",
                          set_cookie=["nb_session=9e21f0c7aa5d4b13; Path=/; Secure; HttpOnly",
                                      "nb_branch=harbour-street; Path=/; Max-Age=31536000"]),
                 Exchange("GET", base + "/start", "Redirection", referer=base + "/",
                          response_type="text/html; charset=utf-8", response_file="t2.htm")],
             ("t2.htm", base + "/start", "text/html")),
        # browse.c
        Step(3, [page("GET", base + "/branches/list", base + "/start", "t3.htm")],
             ("t3.htm", base + "/branches/list", "text/html")),
        Step(4, [page("GET", base + "/branches/mill-lane", base + "/branches/list", "t4.htm")],
             ("t4.htm", base + "/branches/mill-lane", "text/html")),
        # Three levels of framesets: t5 (banner | body), body (sections |
        # browser), browser (filter / items).
        Step(5, [page("GET", shelves, base + "/branches/mill-lane", "t5.htm"),
                 frame(shelves + "/banner", "1.1", shelves, "t5f0.htm"),
                 frame(shelves + "/body", "1.2", shelves, "t5f1.htm"),
                 frame(shelves + "/sections", "1.2.1", shelves + "/body", "t5f1f0.htm"),
                 frame(shelves + "/browser", "1.2.2", shelves + "/body", "t5f1f1.htm"),
                 frame(shelves + "/filter", "1.2.2.1", shelves + "/browser", "t5f1f1f0.htm"),
                 frame(shelves + "/items?section=all", "1.2.2.2", shelves + "/browser",
                       "t5f1f1f1.htm")],
             ("t5.htm", shelves, "text/html"),
             frames=[("0.0", "t5f0.htm", shelves + "/banner"),
                     ("0.1", "t5f1.htm", shelves + "/body"),
                     ("0.1.0", "t5f1f0.htm", shelves + "/sections"),
                     ("0.1.1", "t5f1f1.htm", shelves + "/browser"),
                     ("0.1.1.0", "t5f1f1f0.htm", shelves + "/filter"),
                     ("0.1.1.1", "t5f1f1f1.htm", shelves + "/items?section=all")]),
        # The filter form of the deepest frame, a GET into the whole window.
        Step(6, [page("GET", search, shelves + "/filter", "t6.htm")],
             ("t6.htm", search, "text/html")),
        # reserve.c
        Step(7, [page("GET", base + "/branches/list", base + "/start", "t7.htm")],
             ("t7.htm", base + "/branches/list", "text/html")),
        Step(8, [page("GET", base + "/branches/harbour-street", base + "/branches/list",
                      "t8.htm")],
             ("t8.htm", base + "/branches/harbour-street", "text/html")),
        Step(9, [page("GET", new, base + "/branches/harbour-street", "t9.htm"),
                 frame(new + "/menu", "1.1", new, "t9f0.htm"),
                 frame(new + "/list", "1.2", new, "t9f1.htm")],
             ("t9.htm", new, "text/html"),
             frames=[("0.0", "t9f0.htm", new + "/menu"), ("0.1", "t9f1.htm", new + "/list")]),
        Step(10, [page("GET", base + "/catalogue/record/b2231", new + "/list", "t10.htm")],
             ("t10.htm", base + "/catalogue/record/b2231", "text/html")),
        Step(11, [page("POST", base + "/holds", base + "/catalogue/record/b2231", "t11.htm",
                       body=b"record=b2231&token=c41d2e9b7a605f38&branch=mill-lane"
                            b"&pickup=2026-11-19",
                       content_type=FORM_TYPE)],
             ("t11.htm", base + "/holds", "text/html")),
        Step(12, [Exchange("POST", base + "/api/holds/H-5521/notify", "Primary",
                           referer=base + "/holds", accept=ANY_ACCEPT,
                           body=b'{"hold":"H-5521","channel":"sms","pickupBranch":"mill-lane"}',
                           content_type="application/json",
                           response_type="application/json", response_file="t12.json",
                           extra_headers=[("X-Client-Id", "vu1")])],
             ("t12.json", base + "/api/holds/H-5521/notify", "application/json")),
        # my_loans.c
        Step(13, [page("GET", base + "/account", base + "/start", "t13.htm")],
             ("t13.htm", base + "/account", "text/html")),
        Step(14, [page("GET", base + "/account/loans", base + "/account", "t14.htm")],
             ("t14.htm", base + "/account/loans", "text/html")),
        # renew_all.c: the first loan of the list; then the renewals page,
        # kept by an older recorder (page file only, no exchange file).
        Step(15, [page("POST", base + "/account/loans/renew", base + "/account/loans",
                       "t15.htm", body=b"loan=L-51007&weeks=2&token=c41d2e9b7a605f38",
                       content_type=FORM_TYPE)],
             ("t15.htm", base + "/account/loans/renew", "text/html")),
        Step(16, [page("GET", base + "/account/renewals", base + "/account/loans/renew",
                       "t16.htm")],
             ("t16.htm", base + "/account/renewals", "text/html"), xml=False),
        # end.c: the server ends the session and redirects to goodbye.
        Step(17, [Exchange("GET", base + "/session/end", "Primary",
                           referer=base + "/account/renewals", status=302, reason="Found",
                           location="/goodbye",
                           set_cookie=["nb_session=; Max-Age=0; Path=/; Secure; HttpOnly"]),
                  Exchange("GET", base + "/goodbye", "Redirection",
                           referer=base + "/account/renewals",
                           response_type="text/html; charset=utf-8", response_file="t17.htm")],
             ("t17.htm", base + "/goodbye", "text/html")),
    ]
    for s in steps:
        rec.step(s)
    return rec.files


def main():
    check = "--check" in sys.argv[1:]
    files = {}
    files.update(library_loans())
    files.update(northfield_branches())
    differ = 0
    for path, content in sorted(files.items()):
        old = None
        if os.path.exists(path):
            with open(path, "rb") as f:
                old = f.read()
        if old == content:
            continue
        differ += 1
        if check:
            print("differs: %s" % os.path.relpath(path, ROOT))
        else:
            with open(path, "wb") as f:
                f.write(content)
            print("wrote %s" % os.path.relpath(path, ROOT))
    if check:
        print("%d files, %d differ" % (len(files), differ))
        return 1 if differ else 0
    return 0


if __name__ == "__main__":
    sys.exit(main())

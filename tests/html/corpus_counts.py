#!/usr/bin/env python3
"""Independent counts of forms, form elements and links in saved pages.

Uses Python's own html.parser (not the project's lexer) and applies the page
scanner's collection rules on top of it, so that the figures in
HTMLScannerCorpusTest.cpp can be checked against a second reading:
  - text between <script>, <noscript> or <noframes> and its end tag is not
    markup (script is CDATA for html.parser too; the two others are skipped
    here);
  - a form opened inside an open form is ignored; elements (input, textarea,
    select) count only while a form is open;
  - every attribute listed in the default link table is one link; a meta
    content counts only with http-equiv=refresh; a form without an action
    gets an empty one, which is a link too.
Run: python3 corpus_counts.py FILE...   (prints: name forms elements links)
"""
import sys
from html.parser import HTMLParser

LINKS = {
    "a": ["href"], "applet": ["codebase"], "area": ["href"], "body": ["background"],
    "form": ["action"], "frame": ["src"], "frameset": ["rows", "cols"], "iframe": ["src"],
    "ilayer": ["src"], "meta": ["content"], "img": ["dynsrc", "imagemap", "src"],
    "layer": ["src"], "link": ["href"], "input": ["src"], "table": ["background"],
    "th": ["background"], "td": ["background"], "script": ["src"],
    "image": ["dynsrc", "imagemap", "src"],
}
SKIP = ("noscript", "noframes")


class Counter(HTMLParser):
    def __init__(self):
        super().__init__(convert_charrefs=True)
        self.forms = self.elements = self.links = 0
        self.in_form = False
        self.skip = None

    def handle_starttag(self, tag, attrs):
        if self.skip:
            return
        if tag in SKIP:
            self.skip = tag
            return
        names = [n for n, _ in attrs]
        if tag == "form" and "action" not in names:
            attrs = attrs + [("action", "")]
        for name, value in attrs:
            if name in LINKS.get(tag, []):
                if tag == "meta":
                    equiv = dict(attrs).get("http-equiv") or ""
                    if equiv.lower() != "refresh":
                        continue
                self.links += 1
        if tag == "form" and not self.in_form:
            self.in_form = True
            self.forms += 1
        elif tag in ("input", "textarea", "select") and self.in_form:
            self.elements += 1

    handle_startendtag = handle_starttag

    def handle_endtag(self, tag):
        if self.skip:
            if tag in SKIP:
                self.skip = None
            return
        if tag == "form":
            self.in_form = False


for path in sys.argv[1:]:
    raw = open(path, "rb").read()
    c = Counter()
    c.feed(raw.decode("latin-1"))
    c.close()
    print(path.rsplit("/", 1)[-1], c.forms, c.elements, c.links)

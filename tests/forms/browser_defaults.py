#!/usr/bin/env python3
"""Writes browser_defaults.tsv: for every form of the given pages, the
URL-encoded body that the HTML standard's form submission gives when the
form is submitted with its first submit button (the entry list, then the
application/x-www-form-urlencoded serializer, UTF-8). An independent
reading on Python's html.parser, for the form tests.

Usage: browser_defaults.py OUT.tsv LABEL=PAGE.html ...
"""
import sys
from html.parser import HTMLParser


class Forms(HTMLParser):
    def __init__(self):
        super().__init__(convert_charrefs=True)
        self.forms = []
        self.form = None
        self.select = None
        self.option = None
        self.textarea = None

    def handle_starttag(self, tag, attrs):
        a = {}
        for k, v in attrs:
            a.setdefault(k, v if v is not None else "")
        if tag == "form":
            if self.form is None:
                self.form = []
                self.forms.append(self.form)
            return
        if self.form is None:
            return
        if tag in ("input", "button"):
            self.form.append((tag, a))
        elif tag == "select":
            self.select = {"attrs": a, "options": []}
            self.form.append(("select", self.select))
        elif tag == "option" and self.select is not None:
            self.end_option()
            self.option = {"attrs": a, "text": ""}
            self.select["options"].append(self.option)
        elif tag == "textarea":
            self.textarea = {"attrs": a, "text": ""}
            self.form.append(("textarea", self.textarea))

    def end_option(self):
        self.option = None

    def handle_endtag(self, tag):
        if tag == "form":
            self.form = None
        elif tag == "select":
            self.end_option()
            self.select = None
        elif tag == "option":
            self.end_option()
        elif tag == "textarea":
            self.textarea = None

    def handle_data(self, data):
        if self.option is not None:
            self.option["text"] += data
        elif self.textarea is not None:
            self.textarea["text"] += data


def entries(form):
    out = []
    submitter = None
    for kind, a in form:
        if kind in ("input", "button"):
            t = a.get("type", "submit" if kind == "button" else "text").lower()
            if t in ("submit", "image") and "disabled" not in a:
                submitter = (kind, a)
                break
    for kind, a in form:
        attrs = a["attrs"] if kind in ("select", "textarea") else a
        if "disabled" in attrs:
            continue
        if kind in ("input", "button"):
            t = a.get("type", "submit" if kind == "button" else "text").lower()
            if t == "image":
                if submitter is not None and submitter[1] is a:
                    n = a.get("name", "")
                    out.append((n + ".x" if n else "x", "0"))
                    out.append((n + ".y" if n else "y", "0"))
                continue
            name = a.get("name", "")
            if not name:
                continue
            if t in ("submit",) or kind == "button":
                if submitter is not None and submitter[1] is a and t == "submit":
                    out.append((name, a.get("value", "Submit")))
                continue
            if t in ("reset", "button", "file"):
                if t == "file":
                    out.append((name, ""))
                continue
            if t in ("checkbox", "radio"):
                if "checked" in a:
                    out.append((name, a.get("value", "on")))
                continue
            out.append((name, a.get("value", "")))
        elif kind == "select":
            name = attrs.get("name", "")
            if not name:
                continue
            opts = a["options"]
            multiple = "multiple" in attrs
            size = attrs.get("size")
            chosen = [o for o in opts if "selected" in o["attrs"]]
            if not multiple and len(chosen) > 1:
                chosen = chosen[-1:]
            display = 1 if size is None or not size.strip().isdigit() else int(size.strip())
            if not multiple and not chosen and opts and display == 1:
                chosen = [opts[0]]
            for o in chosen:
                if "disabled" in o["attrs"]:
                    continue
                v = o["attrs"].get("value")
                if v is None:
                    v = " ".join(o["text"].split())
                out.append((name, v))
        elif kind == "textarea":
            name = attrs.get("name", "")
            if not name:
                continue
            text = a["text"]
            if text.startswith("\n"):
                text = text[1:]
            text = text.replace("\r\n", "\n").replace("\r", "\n").replace("\n", "\r\n")
            out.append((name, text))
    return out


SAFE = set(b"abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789*-._")


def encode(text):
    out = []
    for b in text.encode("utf-8", errors="surrogateescape"):
        if b == 0x20:
            out.append("+")
        elif b in SAFE:
            out.append(chr(b))
        else:
            out.append("%%%02X" % b)
    return "".join(out)


def serialize(pairs):
    return "&".join(encode(n) + "=" + encode(v) for n, v in pairs)


def main():
    out = sys.argv[1]
    with open(out, "w", encoding="utf-8", newline="\n") as f:
        for arg in sys.argv[2:]:
            label, path = arg.split("=", 1)
            raw = open(path, "rb").read()
            p = Forms()
            p.feed(raw.decode("utf-8", errors="surrogateescape"))
            p.close()
            for i, form in enumerate(p.forms):
                body = serialize(entries(form))
                f.write(f"{label}\t{i}\t{body}\n")


if __name__ == "__main__":
    main()

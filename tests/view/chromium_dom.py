#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Loads the views `quillbox view` makes of corpus messages in headless Chromium and checks
the DOM Chromium builds: the header rows, the body text, one link per attachment written
beside the page, no picture left pointing at "cid:", and no error in the page's console. Then
the views of every corpus message, loaded at once as frames of one page, must leave the
console empty too.

usage: chromium_dom.py QUILLBOX SOURCE_DIR
The corpus is $QB_CORPUS, else shared/corpus beside the checkout or beside the folder that
holds it. Exits 77 (skipped) when Chromium or the corpus is missing."""

import concurrent.futures
import html.parser
import json
import os
import shutil
import subprocess
import sys
import tempfile
import urllib.parse

CHROMIUM = "/usr/bin/chromium"
VOID = {"area", "base", "br", "col", "embed", "hr", "img", "input", "link", "meta", "param",
        "source", "track", "wbr"}

# A plain-text message, an HTML one, an RTF-only TNEF stream, one with attachments and one
# with an embedded message; each with a sentence of its body.
CASES = [
    ("msg/simple_test_msg.msg", "This is a test message."),
    ("msg/HTMLBodyBinary_UTF-8.msg", "HTML \u00f6\u00e4\u00fc"),
    ("tnef/rtf.tnef", "Greg Allen Senior Engineer/QADirector"),
    ("tnef/quick-winmail.dat", "These are five files. Five files from Hell!"),
    ("msg/attachment_msg_pdf.msg", "Test email with 1 msg attachment, 1 pdf"),
]


class Node:
    def __init__(self, tag, attrs, parent):
        self.tag, self.attrs, self.parent, self.children = tag, dict(attrs), parent, []

    def text(self):
        return "".join(c if isinstance(c, str) else c.text() for c in self.children)

    def find_all(self, tag, cls=None, id_=None):
        out = []
        for c in self.children:
            if isinstance(c, Node):
                if c.tag == tag and (cls is None or cls in c.attrs.get("class", "").split()) \
                        and (id_ is None or c.attrs.get("id") == id_):
                    out.append(c)
                out.extend(c.find_all(tag, cls, id_))
        return out


class TreeBuilder(html.parser.HTMLParser):
    def __init__(self):
        super().__init__(convert_charrefs=True)
        self.root = Node("#document", [], None)
        self.current = self.root

    def handle_starttag(self, tag, attrs):
        node = Node(tag, attrs, self.current)
        self.current.children.append(node)
        if tag not in VOID:
            self.current = node

    def handle_startendtag(self, tag, attrs):
        self.current.children.append(Node(tag, attrs, self.current))

    def handle_endtag(self, tag):
        node = self.current
        while node is not self.root and node.tag != tag:
            node = node.parent
        if node is not self.root:
            self.current = node.parent

    def handle_data(self, data):
        self.current.children.append(data)


def dump_dom(page, profile):
    result = subprocess.run(
        [CHROMIUM, "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic",
         "--no-first-run", "--disable-background-networking", "--disable-component-update",
         "--disable-sync", "--user-data-dir=" + profile, "--enable-logging=stderr", "--v=0",
         "--dump-dom", "file://" + page],
        capture_output=True, text=True, timeout=60)
    return result.stdout, result.stderr


def console_messages(log):
    # Chromium logs every console message at INFO level, errors included; a view runs no
    # script, so any message at all is a fault of the page.
    return [line for line in log.splitlines() if ":CONSOLE" in line]


def check(quillbox, corpus, work, relative, sentence, failures):
    source = os.path.join(corpus, relative)
    name = os.path.basename(relative)
    folder = os.path.join(work, name)
    page = os.path.join(folder, "view.html")
    info = json.loads(subprocess.run([quillbox, "info", "--json", source], capture_output=True,
                                     text=True).stdout.splitlines()[0])["message"]
    made = subprocess.run([quillbox, "view", source, "-o", page, "--attachments",
                           os.path.join(folder, "files")], capture_output=True, text=True)
    if made.returncode not in (0, 3):
        failures.append(f"{name}: quillbox view exited {made.returncode}: {made.stderr}")
        return
    written = [line for line in made.stdout.splitlines() if line]
    dom, log = dump_dom(page, os.path.join(work, "profile-" + name))
    builder = TreeBuilder()
    builder.feed(dom)
    root = builder.root

    def fail(text):
        failures.append(f"{name}: {text}")

    tables = root.find_all("table", id_="qbx-ql-headers")
    if len(tables) != 1:
        fail(f"{len(tables)} header tables")
        return
    rows = {}
    for row in tables[0].find_all("tr"):
        cells = row.find_all("td")
        if len(cells) == 2:
            rows[cells[0].text()] = cells[1].text()
    if info.get("subject") and rows.get("Subject:") != info["subject"]:
        fail(f"subject row {rows.get('Subject:')!r}, message says {info['subject']!r}")
    sender = (info.get("sender") or {}).get("address")
    if sender and sender not in rows.get("From:", ""):
        fail(f"from row {rows.get('From:')!r} lacks {sender!r}")
    for person in info.get("to", []):
        if person.get("address") and person["address"] not in rows.get("To:", ""):
            fail(f"to row {rows.get('To:')!r} lacks {person['address']!r}")
    if info.get("date") and not rows.get("Date:"):
        fail("no date row")

    inner = root.find_all("div", id_="qbx-ql-inner-mail")
    if len(inner) != 1:
        fail(f"{len(inner)} inner-mail divs")
        return
    body = " ".join(inner[0].text().split())
    if sentence and sentence not in body:
        fail(f"body lacks {sentence!r}: {body[:200]!r}")

    links = inner[0].find_all("a", cls="qbx-attachment")
    if len(links) != len(written):
        fail(f"{len(links)} attachment links for {len(written)} files written")
    for link in links:
        href = link.attrs.get("href", "")
        target = os.path.normpath(os.path.join(folder, urllib.parse.unquote(href)))
        shown = " ".join(n.text() for n in link.find_all("div", cls="qbx-attachment-filename"))
        if href.startswith("quillbox:") or not os.path.isfile(target):
            fail(f"link {href!r} leads to no file")
        elif target not in [os.path.normpath(w) for w in written]:
            fail(f"link {href!r} is not a file the view wrote")
        stem, ext = os.path.splitext(shown)
        if os.path.basename(target) != shown and not (
                os.path.basename(target).startswith(stem + " (")
                and os.path.basename(target).endswith(ext)):
            fail(f"link {href!r} shows the name {shown!r}")
    for img in root.find_all("img"):
        if img.attrs.get("src", "").lower().startswith("cid:"):
            fail(f"picture still at {img.attrs['src']!r}")
    for line in console_messages(log):
        fail("console: " + line)
    print(f"{name}: {len(rows)} header rows, {len(links)} links, {len(body)} characters of body")


def check_every_view(quillbox, corpus, work, failures):
    folder = os.path.join(work, "all")
    os.makedirs(folder)
    inputs = [os.path.join(corpus, kind, name) for kind in ("tnef", "msg")
              for name in sorted(os.listdir(os.path.join(corpus, kind)))
              if not name.endswith(".eml")]

    def make(source):
        page = os.path.join(folder, os.path.basename(source) + ".html")
        made = subprocess.run([quillbox, "view", source, "-o", page], capture_output=True)
        return os.path.basename(page) if made.returncode in (0, 3) else None

    with concurrent.futures.ThreadPoolExecutor(max_workers=2) as pool:
        frames = [urllib.parse.quote(page) for page in pool.map(make, inputs) if page]
    index = os.path.join(folder, "index.html")
    with open(index, "w") as f:
        f.write("<!DOCTYPE html><html><body>" +
                "".join(f'<iframe src="{src}"></iframe>' for src in frames) + "</body></html>")
    _, log = dump_dom(index, os.path.join(work, "profile-all"))
    for line in console_messages(log):
        failures.append("every view: console: " + line)
    print(f"every view: {len(frames)} pages loaded, {len(console_messages(log))} console messages")
    if len(frames) < 60:
        failures.append(f"every view: only {len(frames)} views made")


def main():
    quillbox, source = sys.argv[1], sys.argv[2]
    corpus = os.environ.get("QB_CORPUS") or next(
        (c for c in (os.path.join(source, "..", "shared", "corpus"),
                     os.path.join(source, "..", "..", "shared", "corpus")) if os.path.isdir(c)),
        "")
    if not os.path.exists(CHROMIUM):
        print("skipped: no " + CHROMIUM)
        return 77
    if not os.path.isdir(corpus):
        print("skipped: no corpus at " + corpus)
        return 77
    work = tempfile.mkdtemp(prefix="qb-chromium-")
    failures = []
    try:
        for relative, sentence in CASES:
            check(quillbox, corpus, work, relative, sentence, failures)
        check_every_view(quillbox, corpus, work, failures)
    finally:
        shutil.rmtree(work, ignore_errors=True)
    for f in failures:
        print("FAIL " + f)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())

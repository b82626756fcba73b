#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Reads .eml files with Python's standard email package and reports what it sees.

usage: eml_report.py OUT.json FILE.eml...
For each file: every defect the parser recorded (structure and headers), the decoded
subject, the mailboxes of From, To and Cc, and the attachments (transfer-decoded bytes as
size and SHA-256; attached messages reported the same way, recursively), and every leaf
of the part tree in order with its transfer-decoded bytes as SHA-256 (line ends as LF, white
space at the end dropped, since a MIME reader may trim it; attached messages are leaves
without a digest).
"""
import email
import email.policy
import hashlib
import html.parser
import json
import sys


class _VisibleText(html.parser.HTMLParser):
    """The text a browser shows of an HTML document: no head, style or script."""

    def __init__(self):
        super().__init__(convert_charrefs=True)
        self.hidden = 0
        self.parts = []

    def handle_starttag(self, tag, attrs):
        if tag in ("head", "style", "script", "title"):
            self.hidden += 1

    def handle_endtag(self, tag):
        if tag in ("head", "style", "script", "title") and self.hidden:
            self.hidden -= 1

    def handle_data(self, data):
        if not self.hidden:
            self.parts.append(data)


def visible_text(html_text):
    p = _VisibleText()
    p.feed(html_text)
    p.close()
    return " ".join(p.parts)


def mailboxes(msg, name):
    header = msg[name]
    if header is None:
        return None
    out = []
    for group in header.groups:
        if not group.addresses:
            out.append([group.display_name or "", ""])
        for a in group.addresses:
            out.append([a.display_name, a.addr_spec])
    return out


def report(msg):
    defects = [f"{type(d).__name__}" for part in msg.walk() for d in part.defects]
    header_defects = []
    for name in ("Subject", "From", "To", "Cc", "Date", "Message-ID", "In-Reply-To", "References"):
        h = msg[name]
        if h is not None:
            header_defects += [f"{name}: {type(d).__name__}" for d in h.defects]
    attachments = []

    def leaves(part):
        if part.get_content_type() == "message/rfc822":
            inner = part.get_payload()[0] if part.is_multipart() else None
            attachments.append({
                "filename": part.get_filename(),
                "contentType": "message/rfc822",
                "message": report(inner) if inner is not None else None,
            })
            return
        if part.is_multipart():
            for p in part.get_payload():
                leaves(p)
            return
        if part.get_filename() is None and part.get_content_disposition() != "attachment":
            return
        payload = part.get_payload(decode=True) or b""
        attachments.append({
            "filename": part.get_filename(),
            "contentType": part.get_content_type(),
            "disposition": part.get_content_disposition(),
            "contentId": part["Content-ID"],
            "size": len(payload),
            "sha256": hashlib.sha256(payload).hexdigest(),
        })

    if msg.is_multipart():
        for p in msg.get_payload():
            leaves(p)
    leaf_digests = []

    def walk_leaves(part):
        ctype = part.get_content_type()
        if ctype == "message/rfc822":
            leaf_digests.append({"contentType": ctype, "sha256": None})
            return
        if part.is_multipart():
            for p in part.get_payload():
                walk_leaves(p)
            return
        payload = part.get_payload(decode=True) or b""
        payload = payload.replace(b"\r\n", b"\n").rstrip(b" \t\r\n")
        leaf_digests.append({"contentType": ctype,
                             "sha256": hashlib.sha256(payload).hexdigest()})

    walk_leaves(msg)
    texts = {}
    for part in msg.walk():
        ctype = part.get_content_type()
        if ctype in ("text/plain", "text/html") and part.get_filename() is None:
            texts.setdefault(ctype, part.get_content())
    return {
        "defects": defects,
        "headerDefects": header_defects,
        "subject": str(msg["Subject"]) if msg["Subject"] is not None else None,
        "from": mailboxes(msg, "From"),
        "to": mailboxes(msg, "To"),
        "cc": mailboxes(msg, "Cc"),
        "date": str(msg["Date"]) if msg["Date"] is not None else None,
        "messageId": msg["Message-ID"],
        "inReplyTo": msg["In-Reply-To"],
        "references": msg["References"],
        "attachments": attachments,
        "texts": texts,
        "leaves": leaf_digests,
        # What a reader shows as the message's text: the HTML body's visible text, else the
        # plain body.
        "shownText": visible_text(texts["text/html"]) if "text/html" in texts
        else texts.get("text/plain"),
    }


def main():
    out = {}
    for path in sys.argv[2:]:
        with open(path, "rb") as f:
            msg = email.message_from_bytes(f.read(), policy=email.policy.default)
        out[path] = report(msg)
    with open(sys.argv[1], "w") as f:
        json.dump(out, f)


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Reads .eml files with Python's standard email package and reports what it sees.

usage: eml_report.py OUT.json FILE.eml...
For each file: every defect the parser recorded (structure and headers), the decoded
subject, the mailboxes of From, To and Cc, and the attachments (transfer-decoded bytes as
size and SHA-256; attached messages reported the same way, recursively).
"""
import email
import email.policy
import hashlib
import json
import sys


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

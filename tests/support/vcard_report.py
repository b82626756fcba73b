#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Reads vCard files with vobject and reports what it sees.

usage: vcard_report.py OUT.json FILE.vcf...
For each file, a list of cards: version, FN, the N and ADR parts, telephone numbers with
their parameters, e-mail addresses, note, birthday, web pages and the SHA-256 of the photo;
or {"error": text} when vobject cannot read the file.
"""
import base64
import hashlib
import io
import json
import sys

import vobject


def values(card, name):
    return [line.value for line in card.contents.get(name, [])]


def photo_sha256(card, text):
    lines = card.contents.get("photo", [])
    if not lines:
        return None
    data = lines[0].value
    if isinstance(data, bytes):
        return hashlib.sha256(data).hexdigest()
    # A data: URI, which vobject cuts at its comma: read the unfolded line itself.
    for line, _ in vobject.base.getLogicalLines(io.StringIO(text)):
        if line.upper().startswith("PHOTO") and "base64," in line:
            return hashlib.sha256(base64.b64decode(line.split("base64,", 1)[1])).hexdigest()
    return None


def parts(value, names):
    return [getattr(value, n) for n in names]


def report(path):
    with open(path, encoding="utf-8", newline="") as f:
        text = f.read()
    cards = []
    for card in vobject.readComponents(io.StringIO(text), validate=False):
        n = card.contents.get("n")
        adr = card.contents.get("adr")
        cards.append({
            "version": card.version.value if "version" in card.contents else None,
            "fn": card.fn.value if "fn" in card.contents else None,
            "n": parts(n[0].value, ["family", "given", "additional", "prefix", "suffix"]) if n else None,
            "tel": [[line.value, {k: v for k, v in line.params.items()}]
                    for line in card.contents.get("tel", [])],
            "email": values(card, "email"),
            "adr": parts(adr[0].value, ["box", "extended", "street", "city", "region", "code",
                                        "country"]) if adr else None,
            "org": [v if isinstance(v, str) else ";".join(v) for v in values(card, "org")],
            "title": values(card, "title"),
            "note": values(card, "note"),
            "bday": values(card, "bday"),
            "url": values(card, "url"),
            "photo": photo_sha256(card, text),
        })
    return cards


def main():
    out = {}
    for path in sys.argv[2:]:
        try:
            out[path] = report(path)
        except Exception as e:  # what vobject raises is the finding
            out[path] = {"error": f"{type(e).__name__}: {e}"}
    with open(sys.argv[1], "w", encoding="utf-8") as f:
        json.dump(out, f, ensure_ascii=False)


main()

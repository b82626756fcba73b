# SPDX-License-Identifier: Apache-2.0
"""Every real file of the corpus through the module, compared with the command line."""

import hashlib
import json
import pathlib
import subprocess

import quillbox
from conftest import QUILLBOX, cli_info_lines


def open_or_error(path):
    try:
        return quillbox.open(path), None
    except quillbox.Error as e:
        return None, e


def test_every_file_opens_or_raises_the_record_info_prints(corpus):
    lines = cli_info_lines(corpus)
    opened = 0
    for path, line in zip(corpus, lines):
        expected = json.loads(line)
        message, error = open_or_error(path)
        if message is None:
            assert "error" in expected, path
            assert error.info() == expected, path
            assert (error.domain, error.code) == (expected["error"]["domain"],
                                                  expected["error"]["code"])
        else:
            opened += 1
            assert message.info() == expected, path
            assert message.info_json() == line, path
    # The corpus is mostly readable messages; a reader that rejects them all is broken.
    assert opened >= len(corpus) * 3 // 4


def test_attachment_data_equals_the_extracted_files(corpus, tmp_path):
    compared = 0
    for i, path in enumerate(corpus):
        message, _ = open_or_error(path)
        if message is None:
            continue
        try:
            written = message.extract(str(tmp_path), name=str(i))
        except quillbox.Error:
            continue
        folder = tmp_path / str(i)
        manifest = json.loads((folder / "manifest.json").read_text())
        extracted = {e["sha256"] for e in manifest if e["exporter"] == "AttachmentExporter"}
        assert {str(folder / e["file"]) for e in manifest} <= set(written)
        for a in message.attachments:
            data = a.data
            if data is None or a.message is not None or a.size == 0:
                continue
            digest = hashlib.sha256(data).hexdigest()
            # An embedded OLE object (a compound file) is written as the file packed in it.
            if digest not in extracted:
                assert data[:8] == bytes.fromhex("d0cf11e0a1b11ae1"), (path, a.filename)
                continue
            assert bytes(data) == next(
                (folder / e["file"]).read_bytes() for e in manifest if e["sha256"] == digest)
            compared += 1
    assert compared > 0


def test_sizes_and_digests_agree_with_the_data_view(corpus):
    for path in corpus:
        message, _ = open_or_error(path)
        if message is None:
            continue
        records = message.info()["message"]["attachments"]
        for a, record in zip(message.attachments, records):
            assert a.size == record["size"]
            if a.data is not None:
                assert hashlib.sha256(a.data).hexdigest() == record["sha256"]
            assert (a.filename, a.mime_type, a.content_id) == (
                record["filename"], record["mimeType"], record["contentId"])


def test_view_is_the_page_quillbox_view_writes(corpus, tmp_path):
    out = tmp_path / "view.html"
    for path in corpus:
        message, _ = open_or_error(path)
        if message is None:
            continue
        out.unlink(missing_ok=True)
        run = subprocess.run([QUILLBOX, "view", path, "-o", str(out)], capture_output=True)
        # Read only in part: exit status 3, and the page says so above its headers.
        assert run.returncode == (3 if message.partial else 0), (path, run.stderr)
        assert message.view() == out.read_bytes(), path

# SPDX-License-Identifier: Apache-2.0
"""The module's view of a message: fields, bodies, zero-copy attachment data, exports and
errors, on generated samples (no corpus needed)."""

import datetime
import email
import email.policy
import errno
import gc
import json
import os
import pathlib
import pickle
import struct
import subprocess

import pytest

import quillbox
from conftest import QUILLBOX, cli_info_lines


def test_sample_fields_read_as_python_values(samples):
    m = quillbox.open(samples["tnef"])
    assert m.format == "tnef"
    assert m.message_class == "IPM.Note"
    assert m.subject == "Grüße aus Köln: the Q1 numbers"
    assert m.date.utcoffset() == datetime.timedelta(0)
    assert (m.date.year, m.date.month, m.date.day) == (2024, 2, 12)
    assert m.sender.name == "Jörg Müller"
    assert (m.sender.address, m.sender.type) == ("joerg.mueller@example.de", "SMTP")
    assert m.sender.email == "Jörg Müller <joerg.mueller@example.de>"
    assert [a.name for a in m.to] == ["Ana Lima", "Bo Chen"]
    assert [a.address for a in m.cc] == ["carla@example.com"]
    assert m.bcc == []
    assert m.encoding == "windows-1252"
    assert m.bodies.plain.startswith("Hello all,")
    assert isinstance(m.bodies.rtf, bytes) and m.bodies.rtf.startswith(b"{\\rtf")
    assert m.bodies.html is None
    assert not m.partial and m.warnings == []
    names = [a.filename for a in m.attachments]
    assert names[:2] == ["notes.txt", "pixel.png"]
    png = m.attachments[1]
    assert png.mime_type == "image/png" and png.content_id == "pixel@example.de"
    nested = m.attachments[2].message
    assert isinstance(nested, quillbox.Message) and nested.file is None
    assert nested.info()["file"] is None


def test_the_date_matches_what_info_reports(samples):
    for path in (samples["tnef"], samples["msg"]):
        m = quillbox.open(path)
        date = m.info()["message"]["date"]
        if date is None:
            assert m.date is None
        else:
            assert m.date.astimezone(datetime.timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ") == date


def test_path_pathlike_and_bytes_give_the_same_message(samples):
    path = samples["tnef"]
    data = pathlib.Path(path).read_bytes()
    by_path = quillbox.open(path).info()
    assert quillbox.open(pathlib.Path(path)).info() == by_path
    for source in (data, bytearray(data), memoryview(data)):
        record = quillbox.open(source, name=path).info()
        assert record == by_path
    assert quillbox.open(data).info()["file"] is None
    assert json.loads(quillbox.open(data).info_json()) == dict(by_path, file=None)


def test_bytes_given_are_copied_so_changing_them_later_changes_nothing(samples):
    data = bytearray(pathlib.Path(samples["tnef"]).read_bytes())
    m = quillbox.open(data)
    before = bytes(m.attachments[0].data)
    data[:] = b"\0" * len(data)
    assert bytes(m.attachments[0].data) == before == b"Numbers for Q1 are final.\n"


def test_attachment_data_is_a_read_only_view_that_outlives_the_message(samples):
    m = quillbox.open(samples["msg"])
    views = [a.data for a in m.attachments]
    sizes = [a.size for a in m.attachments]
    expected = [bytes(v) for v in views]
    del m
    gc.collect()
    for view, size, content in zip(views, sizes, expected):
        assert isinstance(view, memoryview) and view.readonly
        assert view.nbytes == size == 3000
        assert bytes(view) == content
        with pytest.raises(TypeError):
            view[0] = 1
    # Each attachment is its own content, not one shared window.
    assert len({bytes(v[:1]) for v in views}) == 3


def test_attachment_data_equals_the_extracted_files(samples, tmp_path):
    for path in (samples["tnef"], samples["msg"]):
        m = quillbox.open(path)
        written = m.extract(str(tmp_path))
        assert all(os.path.isfile(p) for p in written)
        folder = pathlib.Path(written[0]).parent
        manifest = json.loads((folder / "manifest.json").read_text())
        files = {e["file"]: (folder / e["file"]).read_bytes() for e in manifest
                 if e["exporter"] == "AttachmentExporter"}
        for a in m.attachments:
            if a.message is None:
                assert bytes(a.data) == files[a.filename]


def test_extract_names_folders_like_the_command_line_and_never_reuses_one(samples, tmp_path):
    m = quillbox.open(samples["tnef"])
    first = m.extract(str(tmp_path))
    second = m.extract(str(tmp_path))
    named = m.extract(str(tmp_path), name="chosen")
    assert pathlib.Path(first[0]).parent.name == "winmail"
    assert pathlib.Path(second[0]).parent.name == "winmail (2)"
    assert pathlib.Path(named[0]).parent.name == "chosen"
    assert [pathlib.Path(p).name for p in first] == [pathlib.Path(p).name for p in second]
    cli = subprocess.run([QUILLBOX, "extract", samples["tnef"], "-o", str(tmp_path / "cli")],
                         capture_output=True, text=True, check=True)
    cli_names = sorted(pathlib.Path(p).name for p in cli.stdout.splitlines())
    assert sorted(pathlib.Path(p).name for p in first) == cli_names


def test_extract_into_a_folder_that_cannot_be_made_raises_with_errno(samples, tmp_path):
    blocker = tmp_path / "file"
    blocker.write_text("not a folder")
    with pytest.raises(quillbox.Error) as raised:
        quillbox.open(samples["tnef"]).extract(str(blocker / "out"))
    assert raised.value.domain == "POSIX"
    assert raised.value.code in (errno.ENOTDIR, errno.EEXIST)


def test_to_eml_is_the_same_message_mail_readers_parse(samples, tmp_path):
    m = quillbox.open(samples["tnef"])
    eml = m.to_eml()
    cli = subprocess.run([QUILLBOX, "eml", samples["tnef"]], capture_output=True, check=True)
    assert eml == cli.stdout
    parsed = email.message_from_bytes(eml, policy=email.policy.default)
    assert parsed["Subject"] == m.subject
    names = [p.get_filename() for p in parsed.iter_attachments()]
    assert "notes.txt" in names and "pixel.png" in names


def test_ics_and_vcf_are_none_for_a_plain_note(samples):
    m = quillbox.open(samples["tnef"])
    assert m.ics() is None and m.vcf() is None
    with pytest.raises(ValueError):
        m.vcf("3.0")


def tnef(*attributes):
    """A TNEF stream of message attributes given as (id, type, data)."""
    out = struct.pack("<IH", 0x223E9F78, 1)
    for ident, kind, data in attributes:
        out += struct.pack("<BHHI", 1, ident, kind, len(data)) + data
        out += struct.pack("<H", sum(data) & 0xFFFF)
    return out


def test_a_message_without_body_views_as_the_no_content_page(tmp_path):
    bare = tmp_path / "bare.tnef"
    bare.write_bytes(tnef((0x9006, 8, struct.pack("<I", 0x00010000)), (0x8008, 7, b"IPM.Note\0")))
    m = quillbox.open(str(bare))
    assert m.bodies.plain is None and m.attachments == []
    page = m.view()
    assert page.startswith(b"<!DOCTYPE") and b"This message has no content." in page
    assert b"(No Subject)" not in page and b"<style>" in page
    assert b"(No Subject)" in m.view(show_empty=True)
    # The keyword arguments are the command line's options.
    for kwargs, flags in [({}, []), ({"show_empty": True}, ["--show-empty"]),
                          ({"stylesheet": "my.css"}, ["--stylesheet", "my.css"])]:
        cli = subprocess.run([QUILLBOX, "view", str(bare), *flags], capture_output=True, check=True)
        assert m.view(**kwargs) == cli.stdout, flags
    with pytest.raises(TypeError):
        m.view(True)


def test_large_outputs_are_the_bytes_the_command_line_writes(tmp_path):
    # Past a megabyte, bytes are filled with the GIL released: the copy must still be whole.
    body = ("Zeile mit Umlauten: äöü. " * 100_000).encode("cp1252")
    big = tmp_path / "big.tnef"
    big.write_bytes(tnef((0x9006, 8, struct.pack("<I", 0x00010000)), (0x8008, 7, b"IPM.Note\0"),
                         (0x800C, 2, body + b"\0")))
    m = quillbox.open(str(big))
    for command, made in (("view", m.view()), ("eml", m.to_eml())):
        cli = subprocess.run([QUILLBOX, command, str(big)], capture_output=True, check=True)
        assert len(made) > 1 << 20 and made == cli.stdout, command


def test_info_is_the_command_lines_line(samples):
    files = [samples["tnef"], samples["msg"]]
    for path, line in zip(files, cli_info_lines(files)):
        assert quillbox.open(path).info() == json.loads(line)
        assert quillbox.open(path).info_json() == line


def test_a_cut_stream_is_read_in_part_with_warnings_where_it_stopped(samples):
    whole = pathlib.Path(samples["tnef"]).read_bytes()
    m = quillbox.open(whole[: len(whole) // 2])
    assert m.partial
    assert len(m.warnings) == 1
    text, offset = m.warnings[0]
    assert "runs past the end" in text and whole[offset] in (1, 2)
    record = m.info()
    assert record["partial"] is True
    assert record["warnings"] == [{"text": text, "offset": offset}]


@pytest.mark.parametrize("data, domain, code", [
    (b"", "TNEFErrorDomain", 3),
    (b"plain text, no stream in it" * 10, "TNEFErrorDomain", 2),
    (bytes.fromhex("d0cf11e0a1b11ae1") + b"\0" * 504, "OXMessageErrorDomain", 2),
])
def test_unreadable_bytes_raise_the_readers_domain_and_code(data, domain, code):
    with pytest.raises(quillbox.Error) as raised:
        quillbox.open(data)
    e = raised.value
    assert isinstance(e, ValueError)
    assert (e.domain, e.code) == (domain, code)
    assert e.description and e.file is None
    assert e.info()["error"]["domain"] == domain


def test_errors_carry_the_file_and_match_the_command_lines_record(samples, tmp_path):
    garbage = tmp_path / "garbage.dat"
    garbage.write_bytes(b"\x00\x01 no stream here" * 100)
    missing = str(tmp_path / "missing.dat")
    files = [str(garbage), missing]
    for path, line in zip(files, cli_info_lines(files)):
        with pytest.raises(quillbox.Error) as raised:
            quillbox.open(path)
        assert raised.value.file == path
        assert raised.value.info() == json.loads(line)
        assert path in str(raised.value)
    with pytest.raises(quillbox.Error) as raised:
        quillbox.open(missing)
    assert (raised.value.domain, raised.value.code) == ("POSIX", errno.ENOENT)


def test_errors_survive_pickling_for_distributed_workers():
    with pytest.raises(quillbox.Error) as raised:
        quillbox.open(b"")
    copy = pickle.loads(pickle.dumps(raised.value))
    assert (copy.domain, copy.code, copy.description, copy.offset) == (
        raised.value.domain, raised.value.code, raised.value.description, raised.value.offset)
    assert copy.info() == raised.value.info()


def test_every_function_has_a_docstring():
    objects = [quillbox.open, quillbox.Error]
    for cls in (quillbox.Message, quillbox.Attachment, quillbox.Address, quillbox.Bodies):
        objects.append(cls)
        objects += [getattr(cls, n) for n in vars(cls) if not n.startswith("_")]
    missing = [o for o in objects if not (getattr(o, "__doc__", None) or "").strip()]
    assert missing == []

# SPDX-License-Identifier: Apache-2.0
"""Shared fixtures: the module under test, the quillbox command, generated samples and the
real-file corpus (tests over it skip when it is absent)."""

import os
import pathlib
import subprocess

import pytest

SOURCE_DIR = pathlib.Path(os.environ.get("QB_SOURCE_DIR", pathlib.Path(__file__).parents[2]))
QUILLBOX = os.environ.get("QB_QUILLBOX", str(SOURCE_DIR / "build" / "quillbox"))
MAKE_SAMPLES = os.environ.get("QB_MAKE_SAMPLES", str(SOURCE_DIR / "build" / "make-samples"))


def corpus_dir():
    """The corpus folder, or None: $QB_CORPUS, else beside the checkout or the worktree."""
    candidates = [os.environ.get("QB_CORPUS"), SOURCE_DIR.parent / "shared" / "corpus",
                  SOURCE_DIR.parents[1] / "shared" / "corpus"]
    for c in candidates:
        if c and pathlib.Path(c, "tnef").is_dir():
            return pathlib.Path(c)
    return None


def corpus_files():
    root = corpus_dir()
    if root is None:
        return []
    return sorted(str(p) for sub in ("tnef", "msg") for p in (root / sub).rglob("*") if p.is_file())


def cli_info_lines(files):
    """What `quillbox info --json` prints for the files, one line each, in order."""
    run = subprocess.run([QUILLBOX, "info", "--json", *files], capture_output=True)
    lines = run.stdout.decode("utf-8").splitlines()
    assert len(lines) == len(files), run.stderr.decode(errors="replace")
    return lines


@pytest.fixture(scope="session")
def corpus():
    files = corpus_files()
    if not files:
        pytest.skip("no corpus (../shared/corpus or $QB_CORPUS)")
    return files


@pytest.fixture(scope="session")
def samples(tmp_path_factory):
    """The bundled sample winmail.dat and small .msg files with attachments (make-samples)."""
    folder = tmp_path_factory.mktemp("samples")
    (folder / "small").mkdir()
    subprocess.run([MAKE_SAMPLES, str(folder), "--small", "200"], check=True, stdout=subprocess.DEVNULL)
    small = sorted(str(p) for p in (folder / "small").iterdir())
    return {"tnef": str(folder / "winmail.dat"), "msg": str(folder / "small" / "1.msg"),
            "small": small, "folder": folder}

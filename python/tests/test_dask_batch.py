# SPDX-License-Identifier: Apache-2.0
"""examples/dask_batch.py on a LocalCluster of two workers writes what the command line
prints, and the extracted files beside it."""

import errno
import json
import pathlib
import shutil
import subprocess
import sys

from conftest import SOURCE_DIR, cli_info_lines, corpus_files

SCRIPT = SOURCE_DIR / "examples" / "dask_batch.py"


def run_batch(args, cwd):
    # The workers inherit PYTHONPATH, so they import the module under test too.
    return subprocess.run([sys.executable, str(SCRIPT), *args], cwd=cwd,
                          capture_output=True, text=True, timeout=240)


def test_batch_over_a_folder_gives_the_command_lines_lines(samples, tmp_path):
    # A tree of inputs: the generated samples, the corpus when it is there, and a file that is
    # no message at all (an error record, not the end of the run).
    tree = tmp_path / "in"
    (tree / "small").mkdir(parents=True)
    for path in samples["small"][:60]:
        shutil.copy(path, tree / "small")
    for path in corpus_files():
        sub = tree / pathlib.Path(path).parent.name
        sub.mkdir(exist_ok=True)
        shutil.copy(path, sub)
    (tree / "not-a-message.txt").write_text("hello")
    files = sorted(str(p) for p in tree.rglob("*") if p.is_file())

    out = tmp_path / "out"
    run = run_batch([str(tree), "-o", str(out), "--workers", "2", "--partition-size", "16"],
                    tmp_path)
    # Exit status 1: one input failed, and said so.
    assert run.returncode == 1, run.stderr
    assert f"{len(files)} files, " in run.stderr

    parts = sorted((out / "info").iterdir())
    assert len(parts) == -(-len(files) // 16)
    lines = [line for p in parts for line in p.read_text(encoding="utf-8").splitlines()]
    assert len(lines) == len(files)
    # Extraction problems would add an "extract" key and differ from the command line.
    assert set(lines) == set(cli_info_lines(files))

    # The exports mirror the input folders.
    assert (out / "files" / "small" / "0" / "manifest.json").is_file()
    assert not (out / "files" / "not-a-message").exists()


def test_batch_reads_a_file_list_without_extracting(samples, tmp_path):
    listed = samples["small"][:5] + [str(tmp_path / "missing.msg")]
    (tmp_path / "list.txt").write_text("\n".join(listed) + "\n")
    out = tmp_path / "out"
    run = run_batch(["--files-from", str(tmp_path / "list.txt"), "-o", str(out), "--workers",
                     "2", "--threads", "--no-extract"], tmp_path)
    assert run.returncode == 1, run.stderr
    lines = [line for p in sorted((out / "info").iterdir())
             for line in p.read_text(encoding="utf-8").splitlines()]
    assert sorted(lines) == sorted(cli_info_lines(listed))
    assert not (out / "files").exists()


def test_a_failed_extraction_is_added_to_the_files_record_and_fails_the_run(samples, tmp_path):
    listed = samples["small"][:3]
    out = tmp_path / "out"
    out.mkdir()
    (out / "files").write_text("a file where the exports' folder would be")
    run = run_batch([*listed, "-o", str(out), "--workers", "1", "--threads"], tmp_path)
    assert run.returncode == 1, run.stderr
    assert "3 files, 3 failed" in run.stderr
    records = [json.loads(line) for p in sorted((out / "info").iterdir())
               for line in p.read_text(encoding="utf-8").splitlines()]
    expected = {json.loads(line)["file"]: json.loads(line) for line in cli_info_lines(listed)}
    for record in records:
        failed = record.pop("extract")
        assert (failed["domain"], failed["code"]) == ("POSIX", errno.ENOTDIR), failed
        assert record == expected[record["file"]]

#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Reads TNEF streams and .msg files by the million on a Dask cluster.

Every input file is opened with quillbox; its record (the line `quillbox info --json` prints
for it) goes to JSON Lines, one file per partition, under OUT/info/, and its exports (bodies,
attachments, nested messages, metadata.json) under OUT/files/, mirroring the input folders. A
file that cannot be read becomes an error record, and one whose exports cannot be written has
the error added under "extract"; the run goes on, and exits with status 1 when any failed.

    dask_batch.py MAILDIR -o OUT                        # this machine, one worker per core
    dask_batch.py --files-from list.txt -o OUT --scheduler tcp://10.0.0.1:8786

With --scheduler the work runs on an existing cluster; inputs and OUT must then be on a file
system every worker sees (NFS, a shared volume) under the same paths.
"""

import argparse
import json
import math
import os
import struct
import sys
import time

import dask.bag as db
from distributed import Client, LocalCluster, progress, wait

import quillbox


def warm_up():
    """Run once on each worker before the clock starts: imports, and one small message made
    here read and recorded, so the report times the inputs, not a worker's first-use costs
    (code paged in, converters opened)."""
    import dask.bag  # noqa: F401  (the task code's own imports)
    import fsspec  # noqa: F401

    def attribute(ident, kind, data):
        return struct.pack("<BHHI", 1, ident, kind, len(data)) + data + struct.pack(
            "<H", sum(data) & 0xFFFF)

    note = (struct.pack("<IH", 0x223E9F78, 1) + attribute(0x8008, 7, b"IPM.Note\0") +
            attribute(0x8004, 1, "Grüße\0".encode("cp1252")) +
            attribute(0x800C, 2, "Café.\0".encode("cp1252")))
    quillbox.open(note).info_json()


def walk(inputs):
    """(path, folder under OUT/files/) for every file: folders recursively, sorted."""
    found = []
    for given in inputs:
        if os.path.isdir(given):
            for root, dirs, files in os.walk(given):
                dirs.sort()
                relative = os.path.relpath(root, given)
                for name in sorted(files):
                    found.append((os.path.join(root, name), relative))
        else:
            found.append((given, "."))
    return found


def error_record(path, domain, code, description):
    return {"file": path, "error": {"domain": domain, "code": code, "description": description,
                                     "message": description}}


def process(item, out, extract):
    """One file's JSON line: the line `quillbox info --json` prints for it, with extraction
    failures added under "extract"."""
    path, folder = item
    try:
        message = quillbox.open(path)
        line = message.info_json()  # the line itself: no dict to build and dump again
    except quillbox.Error as e:
        return json_line(e.info())
    except Exception as e:  # never stop the run: memory, an undecodable name, ...
        return json_line(error_record(path, "python", 0, f"{path}: {type(e).__name__}: {e}"))
    if extract:
        failed = None
        try:
            message.extract(os.path.normpath(os.path.join(out, "files", folder)))
        except quillbox.Error as e:
            failed = e.info()["error"]
        except Exception as e:
            failed = error_record(path, "python", 0, f"{type(e).__name__}: {e}")["error"]
        if failed:
            record = json.loads(line)
            record["extract"] = failed
            return json_line(record)
    return line


def pack(items):
    """A partition's items as one string: Dask then hashes and ships one value per partition,
    not one per file (per-file, that costs a fifth of the reading itself). File names never
    hold NUL."""
    return "\0".join(part for item in items for part in item)


def unpack(packed):
    parts = packed.split("\0")
    return list(zip(parts[0::2], parts[1::2]))


def json_line(record):
    # The same bytes quillbox info --json writes: UTF-8, no spaces.
    return json.dumps(record, ensure_ascii=False, separators=(",", ":"))


def main(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("inputs", nargs="*", help="files and folders (walked recursively)")
    parser.add_argument("--files-from", metavar="LIST", help="a file naming one input per line")
    parser.add_argument("-o", "--output", required=True, metavar="OUT")
    parser.add_argument("--scheduler", metavar="ADDRESS",
                        help="an existing Dask scheduler (else a LocalCluster on this machine)")
    parser.add_argument("--workers", type=int, default=os.cpu_count(),
                        help="LocalCluster workers (default: one per core)")
    parser.add_argument("--threads", action="store_true",
                        help="LocalCluster workers as threads of this process, not processes")
    parser.add_argument("--partition-size", type=int, default=0,
                        help="files per partition and per JSON Lines file (default: automatic)")
    parser.add_argument("--no-extract", action="store_true", help="only the info records")
    args = parser.parse_args(argv)

    inputs = list(args.inputs)
    if args.files_from:
        with open(args.files_from, encoding="utf-8") as f:
            inputs += [line.rstrip("\n") for line in f if line.strip()]
    items = walk(inputs)
    if not items:
        parser.error("no input files")
    out = os.path.abspath(args.output)
    os.makedirs(os.path.join(out, "info"), exist_ok=True)

    if args.scheduler:
        client = Client(args.scheduler)
    else:
        cluster = LocalCluster(n_workers=args.workers, threads_per_worker=1,
                               processes=not args.threads, dashboard_address=None)
        client = Client(cluster)
    with client:
        threads = max(1, sum(client.nthreads().values()))
        client.run(warm_up)
        start = time.monotonic()
        size = args.partition_size or max(1, min(1000, math.ceil(len(items) / (4 * threads))))
        packed = [pack(items[i:i + size]) for i in range(0, len(items), size)]
        bag = db.from_sequence(packed, partition_size=1).map(unpack).flatten()
        lines = bag.map(process, out, not args.no_extract)
        writes = lines.to_textfiles(os.path.join(out, "info", "part-*.jsonl"),
                                    name_function=lambda i: f"{i:05d}", compute=False,
                                    last_endline=True)
        futures = client.compute(writes)
        if sys.stderr.isatty():  # a bar redrawn in a log file is noise, and costs a poll
            progress(futures)
        wait(futures)
        client.gather(futures)
        elapsed = time.monotonic() - start
    failed = 0
    for name in os.listdir(os.path.join(out, "info")):
        with open(os.path.join(out, "info", name), encoding="utf-8") as f:
            failed += sum(1 for line in f if json.loads(line).keys() & {"error", "extract"})
    print(f"\n{len(items)} files, {failed} failed, {elapsed:.2f} s "
          f"({len(items) / elapsed:.0f} files/s) on {threads} threads; records in "
          f"{os.path.join(out, 'info')}", file=sys.stderr)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())

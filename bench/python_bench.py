#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Times the Python module against the command line on many small messages, and one thread
or Dask worker against two. Writes the "From Python" section of bench/results.md.

    bench/python_bench.py SMALL_DIR [--build BUILD] [--runs N]

SMALL_DIR holds the small messages (`build/make-samples DIR --small 5000` writes them to
DIR/small). Times are wall clock, median of N runs (default 9), after one warm-up pass;
the variants take turns within each run.
"""

import argparse
import concurrent.futures
import datetime
import os
import pathlib
import re
import statistics
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]


def cpu_seconds():
    """CPU time of this process and of the children it has waited for."""
    t = os.times()
    return t.user + t.system + t.children_user + t.children_system


def interleaved_medians(runs, works):
    """{name: (wall, CPU, best wall)} seconds, the first two the median of `runs`. The works
    take turns within each run, so a slower spell of a shared machine falls on all of them
    alike rather than on whichever ran then; CPU time shows the cost per core even when the
    wall clock stretches, and the best wall clock what a quiet spell gives."""
    for work in works.values():
        work()  # warm-up: page cache, imports
    walls = {name: [] for name in works}
    cpus = {name: [] for name in works}
    for _ in range(runs):
        for name, work in works.items():
            start, cpu = time.perf_counter(), cpu_seconds()
            work()
            walls[name].append(time.perf_counter() - start)
            cpus[name].append(cpu_seconds() - cpu)
    return {name: (statistics.median(walls[name]), statistics.median(cpus[name]),
                   min(walls[name])) for name in works}


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("small_dir")
    parser.add_argument("--build", default=str(ROOT / "build"))
    parser.add_argument("--runs", type=int, default=9)
    args = parser.parse_args()
    sys.path.insert(0, str(pathlib.Path(args.build) / "python"))
    import quillbox

    files = sorted(str(p) for p in pathlib.Path(args.small_dir).iterdir() if p.is_file())
    quillbox_cli = str(pathlib.Path(args.build) / "quillbox")

    def cli(*options):
        return lambda: subprocess.run([quillbox_cli, "info", "--json", *options, *files],
                                      check=True, stdout=subprocess.DEVNULL)

    def info(path):
        return quillbox.open(path).info()

    def info_json(path):
        return quillbox.open(path).info_json()

    def threads(n, work=info):
        # Each thread takes every n-th file, as a pipeline splits its work: a future per file
        # (ThreadPoolExecutor.map ignores chunksize) would cost more of the GIL than info().
        def run():
            with concurrent.futures.ThreadPoolExecutor(max_workers=n) as pool:
                for _ in pool.map(lambda k: [work(f) for f in files[k::n]], range(n)):
                    pass
        return run

    names = {
        "cli": "quillbox info --json (one process, every core)",
        "cli1": "quillbox info --json -j 1",
        "loop": "Python: open(f).info() in a loop",
        "t1": "Python: 1 thread (ThreadPoolExecutor, a share of the files each)",
        "t2": "Python: 2 threads",
        "j1": "Python: 1 thread, open(f).info_json() (the line, no dict)",
        "j2": "Python: 2 threads, open(f).info_json()",
    }
    measured = interleaved_medians(args.runs, {
        "cli": cli(),
        "cli1": cli("-j", "1"),
        "loop": lambda: [info(f) for f in files],
        "t1": threads(1),
        "t2": threads(2),
        "j1": threads(1, info_json),
        "j2": threads(2, info_json),
    })
    rows = [(names[key], *measured[key][:2]) for key in names]
    (t_cli, c_cli, _), (t_cli1, _, _) = measured["cli"], measured["cli1"]
    (t_loop, c_loop, _) = measured["loop"]
    (t1, _, b1), (t2, _, b2) = measured["t1"], measured["t2"]
    (j1, _, bj1), (j2, _, bj2) = measured["j1"], measured["j2"]

    # Dask: the batch script without extraction; its own report excludes cluster start-up.
    # One worker and two take turns, as above.
    def dask_seconds(workers):
        out = pathlib.Path(os.environ.get("TMPDIR", "/tmp")) / f"qb-dask-bench-{os.getpid()}"
        env = dict(os.environ, PYTHONPATH=str(pathlib.Path(args.build) / "python"))
        subprocess.run(["rm", "-rf", str(out)], check=True)
        run = subprocess.run([sys.executable, str(ROOT / "examples" / "dask_batch.py"),
                              args.small_dir, "-o", str(out), "--workers", str(workers),
                              "--no-extract"], env=env, capture_output=True, text=True)
        subprocess.run(["rm", "-rf", str(out)], check=True)
        found = re.search(r"failed, ([0-9.]+) s", run.stderr)
        if not found:
            sys.exit("dask_batch.py failed:\n" + run.stderr)
        return float(found.group(1))

    dask = {1: [], 2: []}
    for _ in range(args.runs):
        for workers in dask:
            dask[workers].append(dask_seconds(workers))
    d1, d2 = statistics.median(dask[1]), statistics.median(dask[2])
    bd1, bd2 = min(dask[1]), min(dask[2])
    rows.append(("Dask: dask_batch.py --no-extract, 1 worker", d1, None))
    rows.append(("Dask: 2 workers", d2, None))

    load = " ".join(f"{x:.2f}" for x in os.getloadavg())
    lines = [
        "## From Python",
        "",
        f"`bench/python_bench.py`: {len(files)} small messages (half winmail.dat, half .msg), "
        f"wall clock, median of {args.runs} after a warm-up; {os.cpu_count()} cores; "
        f"{datetime.date.today()}; load average at the end: {load}.",
        "",
        "| what | wall s | files/s | CPU s | files per CPU second |",
        "|---|---|---|---|---|",
    ]
    for name, t, c in rows:
        cpu = f"{c:.2f} | {len(files) / c:.0f}" if c else "- | -"
        lines.append(f"| {name} | {t:.2f} | {len(files) / t:.0f} | {cpu} |")
    lines += [
        "",
        f"Wall clock: the Python loop over the command line ×{t_loop / t_cli:.2f} (over "
        f"`-j 1`, the same one core: ×{t_loop / t_cli1:.2f}); 2 Python threads over the command "
        f"line ×{t2 / t_cli:.2f}. 2 threads over 1: ×{t1 / t2:.2f} faster, best against best "
        f"×{b1 / b2:.2f} (with info_json(): ×{j1 / j2:.2f}, best ×{bj1 / bj2:.2f}); 2 Dask "
        f"workers over 1: ×{d1 / d2:.2f} faster, best ×{bd1 / bd2:.2f}. What two cores give "
        f"here at all: the command line's `-j 2` over `-j 1`, ×{t_cli1 / t_cli:.2f}. CPU time: "
        f"Python over the command line ×{c_loop / c_cli:.2f}.",
        "",
    ]
    section = "\n".join(lines)
    print(section)
    results = ROOT / "bench" / "results.md"
    text = results.read_text() if results.exists() else "# Benchmark results\n"
    # Replace our own section (up to the next one), or add it at the end.
    pattern = re.compile(r"## From Python\n.*?(?=^## |\Z)", re.S | re.M)
    text = pattern.sub(lambda _: section + "\n", text) if pattern.search(text) else (
        text.rstrip("\n") + "\n\n" + section)
    results.write_text(text)


if __name__ == "__main__":
    main()

# SPDX-License-Identifier: Apache-2.0
"""Many Python threads reading at once: the GIL is released while files are read and
exported, so results must not depend on what other threads do meanwhile."""

import concurrent.futures
import hashlib
import os
import struct
import threading

import quillbox
from conftest import corpus_files


def summary(path):
    """Everything a caller reads of a file: its record, bodies, attachment bytes, its .eml."""
    try:
        m = quillbox.open(path)
    except quillbox.Error as e:
        return ("error", e.info())
    bodies = m.bodies
    attachments = [(a.filename, a.size, hashlib.sha256(a.data).hexdigest() if a.data else None)
                   for a in m.attachments]
    try:
        eml = hashlib.sha256(m.to_eml()).hexdigest()
    except quillbox.Error as e:
        eml = e.info()
    return (m.info(), bodies.plain, bodies.html, bodies.rtf, attachments, eml,
            [a.name for a in m.to], m.date)


def inputs(samples):
    return corpus_files() + samples["small"][:40] + [samples["tnef"]]


def test_eight_threads_give_what_one_thread_gives(samples):
    files = inputs(samples) * 3
    one = [summary(f) for f in files]
    with concurrent.futures.ThreadPoolExecutor(max_workers=8) as pool:
        many = list(pool.map(summary, files))
    assert many == one


def test_threads_share_one_message(samples):
    m = quillbox.open(samples["tnef"])
    expected = (m.info(), m.to_eml(), bytes(m.attachments[0].data))
    results = []
    lock = threading.Lock()

    def work():
        for _ in range(20):
            got = (m.info(), m.to_eml(), bytes(m.attachments[0].data))
            with lock:
                results.append(got)

    threads = [threading.Thread(target=work) for _ in range(8)]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    assert len(results) == 160 and all(r == expected for r in results)


def test_four_threads_view_at_once_as_one_thread_does(samples):
    messages = []
    for path in inputs(samples):
        try:
            messages.append(quillbox.open(path))
        except quillbox.Error:
            pass
    expected = [hashlib.sha256(m.view()).hexdigest() for m in messages]
    start = threading.Barrier(4)

    def work(_):
        start.wait()
        return [hashlib.sha256(m.view()).hexdigest() for m in messages]

    with concurrent.futures.ThreadPoolExecutor(max_workers=4) as pool:
        results = list(pool.map(work, range(4)))
    assert results == [expected] * 4


def resident_mb():
    with open("/proc/self/statm") as f:
        return int(f.read().split()[1]) * os.sysconf("SC_PAGE_SIZE") / 2**20


# AddressSanitizer keeps freed memory in quarantine: resident size says nothing there.
UNDER_ASAN = "libasan" in os.environ.get("LD_PRELOAD", "")


def test_messages_python_drops_are_freed_by_the_threads_that_go_on():
    # A message dropped under the GIL is freed by its thread's next call, without the GIL; a
    # thread that drops many big ones must not pile them up (each holds its own 2 MB copy).
    body = b"x" * (2 << 20)
    data = (struct.pack("<IH", 0x223E9F78, 1) + struct.pack("<BHHI", 1, 0x800C, 2, len(body)) +
            body + struct.pack("<H", sum(body) & 0xFFFF))

    def work(count):
        for _ in range(count):
            m = quillbox.open(data)
            assert len(m.bodies.plain) == len(body)
            m.info()

    work(4)
    before = resident_mb()
    work(100)
    threads = [threading.Thread(target=work, args=(50,)) for _ in range(2)]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    # 400 MB were opened and dropped.
    assert UNDER_ASAN or resident_mb() - before < 64
    # Dropped together, with no call after: about a megabyte at most waits for the next call.
    kept = [quillbox.open(data) for _ in range(40)]
    del kept
    assert UNDER_ASAN or resident_mb() - before < 64

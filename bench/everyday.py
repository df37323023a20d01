#!/usr/bin/env python3
"""Everyday work over loopback, where late, doubled and repeated replies once cost right results or time: what
came of it, and what it took. Each row begins with a panel and a host of its own.

    bench/everyday.py BUILD_FOLDER

Exit code 1 when a result is wrong.
"""
import contextlib
import ctypes
import filecmp
import os
import pathlib
import random
import signal
import statistics
import subprocess
import sys
import tempfile
import threading
import time
from ctypes import CFUNCTYPE, c_char_p, c_int32, c_uint32, c_void_p

ADDRESS, SILENT = "127.0.0.2", "127.0.0.9"
ATTEMPTS, TIMEOUT_MS, DIRECT = 3, 1000, 0
SLOW = ("--fault", "delay=1:1500ms")


class DirEntry(ctypes.Structure):
    _fields_ = [("size", c_uint32), ("time", c_uint32 * 2), ("attributes", c_uint32), ("name", ctypes.c_char * 260)]


class Table:
    """The module's slots, by the names of the public header."""

    def __init__(self, module):
        table = (c_void_p * 36).in_dll(ctypes.CDLL(str(module)), "FuncTable")
        for name, number, arguments in [
                ("start", 0, [c_int32] * 3), ("md", 4, [c_char_p]), ("tm", 8, []), ("gf", 9, [c_char_p] * 2),
                ("list", 11, [c_char_p, c_int32, c_void_p]), ("dl", 12, [c_char_p] * 2), ("rm", 13, [c_char_p]),
                ("up", 14, [c_char_p] * 2), ("stop", 15, []), ("cancel", 17, []), ("use", 20, [c_char_p])]:
            setattr(self, name, CFUNCTYPE(c_int32, *arguments)(table[number]))

    def names(self, folder):
        entries = (DirEntry * 1000)()
        return {entry.name.decode() for entry in entries[:self.list(wide(folder), 1000, entries)]}


def wide(text):
    return (str(text) + "\0").encode("utf-16-le")


class World:
    def __init__(self, build, scratch):
        self.build, self.local, self.storage = build, scratch / "local", scratch / "panel"
        self.local.mkdir()
        self.storage.mkdir()
        self.log = scratch / "log"
        self.table = Table(build / "brenholt.so")

    def write(self, name, data):
        path = self.storage / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data)
        os.utime(path, (1_700_000_000, 1_700_000_000))

    def good(self, name):
        return filecmp.cmp(self.storage / name, self.local / pathlib.Path(name).name, shallow=False)

    @contextlib.contextmanager
    def panel(self, *options):
        with open(self.log, "wb") as log:
            process = subprocess.Popen([self.build / "tavrin-panel", "--panel", f"{ADDRESS}={self.storage}", "--log",
                                        "--beacon-interval", "50ms", *options], stdout=log)
        self.process = process
        try:
            while b"ready" not in self.log.read_bytes():
                if process.poll() is not None:
                    sys.exit("the panel does not run")
                time.sleep(0.01)
            yield self
        finally:
            process.terminate()
            process.wait()

    @contextlib.contextmanager
    def link(self, *options):
        with self.panel(*options):
            self.table.start(ATTEMPTS, TIMEOUT_MS, DIRECT)
            try:
                while not self.table.use(wide(ADDRESS)):
                    time.sleep(0.01)
                yield self.table
            finally:
                self.table.stop()

    def requests(self, command):
        return sum(f" {command}" in line and "Cmd" not in line for line in self.log.read_text().splitlines())

    def program(self, *arguments):
        return subprocess.run([self.build / "brenholt", "--panel", ADDRESS, *map(str, arguments)], text=True,
                              capture_output=True)


def timed(action):
    start = time.monotonic()
    result = action()
    return result, (time.monotonic() - start) * 1000


def noise(size, seed):
    return random.Random(seed).randbytes(size)


def slow_listing_then_fetch(world):
    world.write("many/x", b"x")
    world.write("small", noise(200, 1))
    with world.link(*SLOW) as table:
        table.names("many")
        result = table.up(wide("small"), wide(world.local))
    return not result or world.good("small"), f"result {result}"


def slow_update_of_a_good_file(world):
    world.write("project/file", noise(20_000, 2))
    (world.local / "file").write_bytes(noise(20_000, 2))
    with world.panel(*SLOW):
        run = world.program("get", "--recursive", "--update", "project", world.local)
    return world.good("project/file"), f"exit code {run.returncode}, the good file is whole"


def slow_listings(world):
    world.write("sub/inner", b"x")
    world.write("outer", b"x")
    with world.link(*SLOW) as table:
        first, second = table.names(""), table.names("sub")
    return first in (set(), {"sub", "outer"}) and second in (set(), {"inner"}), f"{len(first)}, {len(second)} entries"


def slow_fetches_of_two_processes(world):
    for name in "ab":
        world.write(name, noise(2000, name))
    with world.panel(*SLOW):
        codes = [world.program("get", name, world.local).returncode for name in "ab"]
    return all(code or world.good(name) for code, name in zip(codes, "ab")), f"exit codes {codes}"


def slow_copy(world):
    for i in range(5):
        world.write(f"folder/{i}", noise(3000, i))
    with world.link(*SLOW) as table:
        result = table.gf(wide("folder"), wide(world.local))
    copied = [path.name for path in world.local.iterdir()]
    return all(world.good(f"folder/{name}") for name in copied) and (not result or len(copied) in (0, 5)), \
        f"result {result}, {len(copied)} files"


def doubled_acknowledgements(world):
    data = noise(1 << 20, 3)
    (world.local / "big").write_bytes(data)
    with world.link("--fault", "double=0.01") as table:
        result = table.dl(wide(world.local / "big"), wide("big"))
    return (world.storage / "big").read_bytes() == data and result == 1, \
        f"result {result}, {world.requests('DL')} datagrams"


def doubled_then_another(world):
    for name in ("long", "small", "other"):
        world.write(name, noise(5000 if name == "long" else 100, name))
    right = True
    with world.link("--fault", "double=1") as table:
        for _ in range(20):
            for name in ("long", "small", "other"):
                right &= table.up(wide(name), wide(world.local)) == 1 and world.good(name)
    return right, "60 fetches"


def poll(world):
    world.write("state", noise(200, 4))
    with world.link() as table:
        times = [timed(lambda: table.up(wide("state"), wide(world.local)))[1] for _ in range(2000)]
    return world.good("state"), f"median {statistics.median(times):.2f} ms, longest {max(times):.1f} ms"


def alike_folder(world):
    for i in range(8):
        world.write(f"folder/{i}", noise(4096, 5))
    with world.link() as table:
        result, ms = timed(lambda: table.gf(wide("folder"), wide(world.local)))
    return result == 1 and all(world.good(f"folder/{i}") for i in range(8)), f"{ms:.1f} ms"


def alike_and_different_copies(world):
    for i in range(40):
        world.write(f"alike/a{i}", noise(6000, 6))
        world.write(f"unlike/u{i}", noise(6000, i))
    with world.panel():
        runs = {folder: [timed(lambda: world.program("get", "--recursive", folder, world.local / folder))
                         for _ in range(5)] for folder in ("unlike", "alike")}
    right = all(run.returncode == 0 for each in runs.values() for run, _ in each)
    unlike, alike = (statistics.median(ms for _, ms in each) for each in runs.values())
    return right, f"alike {alike:.0f} ms, different {unlike:.0f} ms"


def fetch_after_cancel(world):
    world.write("first", noise(3_000_000, 7))
    world.write("second", noise(3000, 8))
    with world.link() as table:
        threading.Timer(0.05, table.cancel).start()
        cancelled = table.up(wide("first"), wide(world.local))
        result, ms = timed(lambda: table.up(wide("second"), wide(world.local)))
    return not cancelled and result == 1 and world.good("second"), f"{ms:.1f} ms"


def listing_after_silence(world):
    world.write("folder/x", b"x")
    script = world.log.with_name("script")
    script.write_text("TM 1-3 silent\n")
    with world.link("--script", script) as table:
        silent = table.tm()
        names, ms = timed(lambda: table.names("folder"))
        removed, rm_ms = timed(lambda: table.rm(wide("folder\\x")))
    return not silent and names == {"x"} and removed == 1, \
        f"listing {ms:.1f} ms, {world.requests('DR')} datagrams; RM {rm_ms:.1f} ms, {world.requests('RM')}"


def panel_after_a_silent_one(world):
    world.write("folder/x", b"x")
    with world.link("--panel", f"{SILENT}={world.storage}") as table:
        while not table.use(wide(SILENT)):
            time.sleep(0.01)
        world.process.send_signal(signal.SIGSTOP)
        stat = pathlib.Path(f"/proc/{world.process.pid}/stat")
        while stat.read_text().rpartition(")")[2].split()[0] != "T":
            time.sleep(0.001)
        silent = table.tm()
        world.process.send_signal(signal.SIGCONT)
        table.use(wide(ADDRESS))
        names, ms = timed(lambda: table.names("folder"))
    return not silent and names == {"x"}, f"{ms:.1f} ms, {world.requests('DR')} datagrams"


def small_files_after_a_lost_acknowledgement(world):
    for i in range(20):
        (world.local / f"s{i}").write_bytes(noise(100, i))
    script = world.log.with_name("script")
    script.write_text("DL 1 silent\n")
    with world.link("--script", script) as table:
        runs = [timed(lambda: table.dl(wide(world.local / f"s{i}"), wide(f"s{i}"))) for i in range(20)]
    right = all((world.storage / f"s{i}").read_bytes() == noise(100, i) for i in range(20))
    return right and all(result == 1 for result, _ in runs), \
        f"the first {runs[0][1]:.0f} ms, the others {max(ms for _, ms in runs[1:]):.1f} ms at most; " \
        f"{world.requests('DL')} datagrams for 20 files"


ROWS = [
    ("panel answers after 1.5 s: listing, then a file", slow_listing_then_fetch),
    ("the same: a folder is brought up to date", slow_update_of_a_good_file),
    ("the same: a listing, then that of a subfolder", slow_listings),
    ("the same: two programs, one after the other", slow_fetches_of_two_processes),
    ("the same: copy of a folder", slow_copy),
    ("every reply doubled: files of several packets and of one", doubled_then_another),
    ("1 % of acknowledgements doubled: 1 MiB sent", doubled_acknowledgements),
    ("the same 200 bytes 2,000 times", poll),
    ("copy of a folder of 8 alike files of 4 KiB", alike_folder),
    ("the program copies 40 files of 6 KB", alike_and_different_copies),
    ("a file after a cancelled one", fetch_after_cancel),
    ("listing and RM after an unanswered TM", listing_after_silence),
    ("listing of another panel after a silent one", panel_after_a_silent_one),
    ("small files, the first acknowledgement lost", small_files_after_a_lost_acknowledgement),
]


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    build = pathlib.Path(sys.argv[1]).resolve()
    wrong = 0
    for words, row in ROWS:
        with tempfile.TemporaryDirectory() as scratch:
            right, result = row(World(build, pathlib.Path(scratch)))
        wrong += not right
        print(f"| {words} | {'right' if right else 'WRONG'} | {result} |", flush=True)
    sys.exit(1 if wrong else 0)


if __name__ == "__main__":
    main()

"""Measures the module against the limit of one datagram in flight and against other lock-step clients,
interleaved in one run. Started by scripts/bench."""
import argparse
import collections
import dataclasses
import filecmp
import mmap
import os
import pathlib
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

import report

PANEL, LIMIT_ADDRESS, PEER_PORT = "127.0.0.2", "127.0.0.3", "10269"
FETCH_DATA = 1363
DATAGRAMS = {"fetch": (30, 1400, FETCH_DATA), "send": (1400, 4, 1300)}  # request, reply, bytes of file, about
MIB = 1 << 20


@dataclasses.dataclass
class Scale:
    """How much is measured."""
    rounds: int
    # How many times as often transfers of up to 256 MiB run: for seconds on end a shared machine is a third
    # slower, and in a few rounds that may strike the link more than its limit.
    repeats: int
    sizes: tuple       # of the files transferred, in MiB
    growth: tuple      # the same, for the table of memory
    crowd: tuple       # numbers of panels
    files: int         # in the folder
    delays: tuple      # of a panel's answers, in microseconds
    starts: int        # of the host program


WHOLE = Scale(5, 4, (32, 256), (1, 16, 64, 256, 1024), (0, 1, 25, 100, 400), 1000, (300, 500, 1000, 2000), 40)
QUICK = Scale(3, 1, (32,), (16,), (0, 25), 1000, (500,), 20)
SMOKE = Scale(1, 1, (1,), (1, 2), (0, 20), 100, (500,), 2)


def ratios(limit, runs):
    """Of a job to its limit, one for each round that has the job."""
    return [limit[number][0] / run[0] for number, run in runs.items()]


class Bench:
    def __init__(self, build, scratch, scale):
        self.build, self.scratch, self.scale = build, scratch, scale
        self.storage, self.local = scratch / "panel", scratch / "local"
        self.storage.mkdir()
        self.local.mkdir()
        self.servers = []
        # A core for the servers and the others for the clients: left to the scheduler, both ends share one
        # for some time after a pause, and a round trip takes ten times as long.
        cores = sorted(os.sched_getaffinity(0))
        self.server_cores, self.client_cores = cores[-1:], cores[:-1] or cores
        os.sched_setaffinity(0, self.client_cores)

    def serve(self, *command, ready=None):
        process = subprocess.Popen(list(map(str, command)), stdout=subprocess.PIPE,
                                   stderr=subprocess.DEVNULL, text=True,
                                   preexec_fn=lambda: os.sched_setaffinity(0, self.server_cores))
        self.servers.append(process)
        if ready and not process.stdout.readline().startswith(ready):
            sys.exit(f"{command[0]} does not run")
        return process

    def stop_servers(self):
        for process in self.servers:
            process.terminate()
            process.wait()
        self.servers.clear()

    def repeats(self, size):
        return self.scale.repeats if size <= 256 * MIB else 1

    def limit(self, direction, size, file=None, kind="run"):
        """Seconds and CPU seconds of as many bare round trips as a transfer of `size` bytes has; with `file`,
        also of as many bytes written there."""
        request, reply, data = DATAGRAMS[direction]
        out = subprocess.run([self.build / "bench/bench_limit", kind, LIMIT_ADDRESS, str(request), str(reply),
                              str(-(-size // data)), *((str(data), file) if file else ())],
                             check=True, capture_output=True, text=True)
        seconds, cpu = map(float, out.stdout.split())
        return seconds, cpu

    def link(self, job, *arguments):
        """What bench_link prints: seconds, CPU seconds, KiB of growth, wake-ups, KiB of its own."""
        out = subprocess.run([self.build / "bench/bench_link", self.build / "brenholt.so", job,
                              *map(str, arguments)], capture_output=True, text=True, timeout=300)
        if out.returncode != 0:
            sys.exit(f"{job} {arguments}: {out.stderr}")
        seconds, cpu, *counts = out.stdout.split()
        return float(seconds), float(cpu), *map(int, counts)

    def fetch(self, mode, name):
        result = self.link("fetch", mode, name, self.local)
        if not filecmp.cmp(self.local / name, self.storage / name, shallow=False):
            sys.exit("the fetched file differs")
        return result

    def peer(self, *command, stdin=None):
        """Seconds and CPU seconds of another client; None when it is not there or fails."""
        if not shutil.which(command[0]) or not shutil.which("atftpd"):
            return None
        start = time.monotonic()
        process = subprocess.Popen(list(map(str, command)), stdin=stdin, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL, cwd=self.local)
        _, status, usage = os.wait4(process.pid, 0)
        took = time.monotonic() - start
        process.returncode = status
        return (took, usage.ru_utime + usage.ru_stime) if status == 0 else None

    def file(self, folder, name, size):
        with open(folder / name, "wb") as out:
            for _ in range(size // MIB):
                out.write(os.urandom(MIB))
            out.write(os.urandom(size % MIB))
        return name

    def warm(self, size):
        """Touches that much memory and frees it: a virtual machine that has given free memory back to its
        host gets it again at a tenth of the speed, which the job that comes first after a pause would pay.
        Each core keeps what was freed on it."""
        for cores in (self.server_cores, self.client_cores):
            os.sched_setaffinity(0, cores)
            with open(self.scratch / "warm", "wb", buffering=0) as out:
                for _ in range(size // MIB):
                    out.write(bytes(MIB))
            (self.scratch / "warm").unlink()
        with mmap.mmap(-1, 32 * MIB) as block:  # huge pages are taken and kept apart from the others
            block.madvise(mmap.MADV_HUGEPAGE)
            block.write(bytes(len(block)))

    def interleaved(self, jobs, stored=0, files=(), times=1, seldom=()):
        """Runs each job in turn, round after round, with memory for the bytes that each stores and without the
        files that the others stored, which it would otherwise have to free; for each name its results by
        round. Where there are several rounds, `times` as many as the bench has, one before them does not
        count: it finds everything cold. The jobs named `seldom` run as often as the bench has rounds."""
        results = {name: {} for name in jobs}
        rounds = self.scale.rounds * times
        for number in range(-1 if rounds > 1 else 0, rounds):
            for name, job in jobs.items():
                if name in seldom and number % times:
                    continue
                for file in files:
                    file.unlink(missing_ok=True)
                self.warm(stored)
                result = job()
                if result is not None and number >= 0:
                    results[name][number] = result
            print(f"  round {number + 1} of {rounds}", file=sys.stderr)
        return results

    def transfers(self, size):
        """Rows of the table of ratios for one size of file."""
        self.file(self.storage, "f", size)
        self.file(self.local, "s", size)
        at = f"tftp://127.0.0.1:{PEER_PORT}"
        jobs = {
            "fetch limit": lambda: self.limit("fetch", size),
            "fetch direct": lambda: self.fetch("direct", "f"),
            "fetch posted": lambda: self.fetch("posted", "f"),
            "send limit": lambda: self.limit("send", size),
            "send direct": lambda: self.link("send", "direct", self.local / "s"),
            "send posted": lambda: self.link("send", "posted", self.local / "s"),
        }
        if size <= 32 * MIB:
            jobs["block direct"] = lambda: self.link("block", "direct", size)
        # The slow ones come last in a round, so that the others run close to their limit in time.
        peers = {
            "fetch curl": lambda: self.peer("curl", "-s", "--tftp-blksize", FETCH_DATA, "-o", "by-curl", f"{at}/f"),
            "fetch atftp": lambda: self.peer("atftp", "--option", f"blksize {FETCH_DATA}", "-g", "-r", "f",
                                             "-l", "by-atftp", "127.0.0.1", PEER_PORT),
            "send curl": lambda: self.peer("curl", "-s", "--tftp-blksize", FETCH_DATA, "-T", "s", f"{at}/up"),
            "send atftp": lambda: self.peer("atftp", "--option", f"blksize {FETCH_DATA}", "-p", "-l", "s",
                                            "-r", "up", "127.0.0.1", PEER_PORT),
        }
        stored = [self.local / name for name in ("f", "by-curl", "by-atftp")]
        stored += [self.storage / name for name in ("sent", "up")]
        results = self.interleaved(jobs | peers, size + 32 * MIB, stored, self.repeats(size), seldom=peers)
        rows = []
        for name, runs in results.items():
            if runs:
                base = results[("fetch" if name.startswith("fetch") else "send") + " limit"]
                seconds, cpu = (statistics.median(run[i] for run in runs.values()) for i in (0, 1))
                rows.append(report.Row(name, ratios(base, runs), size / MIB / seconds, cpu / (size / 1e9)))
        return sorted(rows, key=lambda row: not row.name.startswith("fetch"))

    def folder(self, size=4096):
        """Files a second: the module's folder copy, and a peer with as many files in one process."""
        count = self.scale.files
        (self.storage / "many").mkdir()
        for i in range(count):
            self.file(self.storage / "many", f"f{i:03}", size)
        last = f"{count - 1:03}"
        jobs = {
            "folder direct": lambda: self.link("folder", "direct", "many", self.local / "many"),
            "folder posted": lambda: self.link("folder", "posted", "many", self.local / "many"),
            "folder curl": lambda: self.peer(
                "curl", "-s", "--tftp-blksize", FETCH_DATA, "-o", "curl-many/f#1",
                f"tftp://127.0.0.1:{PEER_PORT}/many/f[000-{last}]"),
        }
        (self.local / "many").mkdir()
        (self.local / "curl-many").mkdir()
        results = self.interleaved(jobs)
        return [(name, [count / run[0] for run in runs.values()]) for name, runs in results.items() if runs]

    def calls(self):
        """Pairs of a system call and how many of them the folder copy makes for a file of 4 KiB; none without
        strace. What only waits is left out, and what fails: a spin tries to receive over and over."""
        if not shutil.which("strace"):
            return []
        (self.storage / "few").mkdir()
        counts = collections.Counter()
        for folder, sign in (("many", 1), ("few", -1)):
            (self.local / folder).mkdir(exist_ok=True)
            for old in (self.local / folder).iterdir():
                old.unlink()
            subprocess.run(["strace", "-f", "-z", "-c", "-U", "calls,name", "-e", "trace=!ppoll,clock_nanosleep,futex",
                            "-o", self.scratch / "calls", self.build / "bench/bench_link", self.build / "brenholt.so",
                            "folder", "direct", folder, self.local / folder], check=True, capture_output=True)
            for line in (self.scratch / "calls").read_text().splitlines():
                number, _, name = line.strip().partition(" ")
                if number.isdigit() and name.strip() != "total":
                    counts[name.strip()] += sign * int(number)
        return [(name, total / self.scale.files) for name, total in counts.most_common()
                if round(total / self.scale.files) > 0]

    def start(self):
        """Seconds of `brenholt list`, from its start to its end, with a panel that beacons each 100 ms."""
        times = []
        for _ in range(self.scale.starts):
            start = time.monotonic()
            subprocess.run([self.build / "brenholt", "--panel", PANEL, "list"], check=True, capture_output=True)
            times.append(time.monotonic() - start)
        return times

    def presence(self):
        """The cost of being there, as (what, text) pairs."""
        rounds = self.scale.rounds

        def median(index, *job):
            return statistics.median(self.link(*job)[index] for _ in range(rounds))
        loads = [self.link("load") for _ in range(4 * rounds)]
        silent = [self.link("silent", 1000) for _ in range(rounds)]
        cancels = [self.link("cancel", 5000)[0] for _ in range(4 * rounds)]
        late = [run[0] * 1000 - 1000 for run in silent]
        yield "load the module", f"{statistics.median(l[0] for l in loads) * 1000:.1f} ms, " \
            f"{statistics.median(l[2] for l in loads):.0f} KiB, " \
            f"of which {statistics.median(l[4] for l in loads):.0f} no file backs"
        yield "a silent wait of 1 s", f"{statistics.median(s[1] for s in silent) * 100:.2f} % of a core, " \
            f"{statistics.median(late):.1f} ms late (worst {max(late):.1f})"
        yield "cancel in a silent wait", f"{statistics.median(cancels) * 1000:.1f} ms " \
            f"(worst {max(cancels) * 1000:.1f})"
        starts = self.start()
        yield "`brenholt list`, panel that beacons each 100 ms", f"{statistics.median(starts) * 1000:.0f} ms " \
            f"(least {min(starts) * 1000:.0f})"
        calls = self.calls()
        if calls:
            yield f"system calls for a file of 4 KiB in a folder: {sum(count for _, count in calls):.0f}", \
                ", ".join(f"{name} {count:.0f}" for name, count in calls)
        (self.storage / "list").mkdir()
        for entries in (10, 100, 1000):
            for path in range(len(list((self.storage / "list").iterdir())), entries):
                (self.storage / "list" / f"entry{path:04}").touch()
            took = median(0, "list", "direct", "list", 20) / 20
            yield f"a listing of {entries} entries", f"{took * 1000:.2f} ms, {took * 1e6 / entries:.1f} us an entry"

    def growth(self, sizes):
        """For each size of file, fetched and sent: what `link` gives, each figure the median of the rounds, and
        the median of its ratios to the limit of round trips that store the file."""
        at_panel, here, sent, bare = self.storage / "g", self.local / "g", self.storage / "sent", self.local / "bare"

        def measured(direction, job, stored):
            results = self.interleaved({"limit": lambda: self.limit(direction, size, bare), "link": job},
                                       size + 32 * MIB, [stored, bare], self.repeats(size))
            return (*map(statistics.median, zip(*results["link"].values())),
                    statistics.median(ratios(results["limit"], results["link"])))

        for size in sizes:
            # One file and its copy at a time: memory that is filled and free is scarce.
            self.file(self.storage, "g", size)
            fetch = measured("fetch", lambda: self.fetch("direct", "g"), here)
            at_panel.unlink()
            send = measured("send", lambda: self.link("send", "direct", here), sent)
            sent.unlink()
            here.unlink()
            yield size, fetch, send

    def crowd(self, counts):
        """For each number of panels heard, a beacon a second each: what an idle link takes."""
        for count in counts:
            panels = [f"--panel=127.0.{1 + i // 200}.{1 + i % 200}={self.storage}" for i in range(count)]
            if panels:
                self.serve(self.build / "tavrin-panel", "--quiet", *panels, ready="ready")
            yield count, self.link("idle", 5)
            self.stop_servers()

    def delayed(self, delays):
        """For each time that a panel takes to answer: CPU seconds of the link for a datagram of a fetch, and of a
        client that only blocks and stores as much."""
        size = 2 * MIB
        datagrams = size / FETCH_DATA
        self.file(self.storage, "d", size)
        for delay in delays:
            self.serve(self.build / "tavrin-panel", "--quiet", "--panel", f"{PANEL}={self.storage}", "--spin", "5ms",
                       "--beacon-interval", "100ms", "--fault", f"delay=1:{delay}us", ready="ready")
            self.serve(self.build / "bench/bench_limit", "serve", LIMIT_ADDRESS, delay, ready="ready")
            results = self.interleaved({
                "link": lambda: self.fetch("direct", "d"),
                "bare": lambda: self.limit("fetch", size, self.local / "bare", "block"),
            }, files=[self.local / "d", self.local / "bare"])
            yield delay, *(statistics.median(run[1] for run in results[name].values()) / datagrams
                           for name in ("link", "bare"))
            self.stop_servers()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--quick", dest="scale", action="store_const", const=QUICK, default=WHOLE,
                        help="the same with fewer rounds, sizes and panels, in three minutes")
    parser.add_argument("--smoke", dest="scale", action="store_const", const=SMOKE, help="does it run")
    parser.add_argument("--page", type=pathlib.Path, help="page whose tables are written anew")
    parser.add_argument("--plot", type=pathlib.Path, help="SVG of the ratios")
    options = parser.parse_args()
    memory = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None
    with tempfile.TemporaryDirectory(dir=memory) as scratch:
        bench = Bench(options.build.resolve(), pathlib.Path(scratch), options.scale)
        script = bench.scratch / "script"
        script.write_text("TM * silent\n")
        sections = report.Sections()
        try:
            measure(bench, script, sections)
        except BaseException:
            print(report.text(sections))  # what was measured is not lost
            raise
        finally:
            bench.stop_servers()
    report.write(sections, options.page, options.plot)


def measure(bench, script, page):
    scale = bench.scale
    quiet = bench.build / "tavrin-panel", "--quiet"
    page.crowd += bench.crowd(scale.crowd)
    page.delayed += bench.delayed(scale.delays)
    bench.serve(bench.build / "bench/bench_limit", "serve", LIMIT_ADDRESS, ready="ready")
    bench.serve(*quiet, "--panel", f"{PANEL}={bench.storage}", "--beacon-interval", "100ms",
                "--spin", "1ms", "--script", script, ready="ready")
    if shutil.which("atftpd"):
        bench.serve("atftpd", "--daemon", "--no-fork", "--port", PEER_PORT, "--bind-address", "127.0.0.1",
                    "--user", "root", "--group", "root", bench.storage)
    for size in scale.sizes:
        page.transfers.append((size, bench.transfers(size * MIB)))
    page.folder = bench.folder()
    page.presence += bench.presence()
    page.growth += bench.growth([size * MIB for size in scale.growth])


if __name__ == "__main__":
    main()

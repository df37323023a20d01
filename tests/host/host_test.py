"""The command-line host against simulated panels, as real programs over loopback.

Usage: host_test.py BRENHOLT TAVRIN_PANEL [unittest arguments]
"""

import fcntl
import json
import os
import pty
import re
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest

import programs

BRENHOLT, TAVRIN_PANEL = sys.argv[1:3]
ENVIRONMENT = {**os.environ, "LC_ALL": "C.UTF-8", "TZ": "UTC"}


def start(*arguments, **options):
    return subprocess.Popen([BRENHOLT, *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                            env=ENVIRONMENT, **options)


def run(*arguments, **options):
    """Exit code, stdout as bytes, stderr as text."""
    process = start(*arguments, **options)
    try:
        out, err = process.communicate(timeout=60)
    finally:
        process.kill()  # one that hangs would keep the ports from the tests to come
    return process.returncode, out, err.decode(errors="replace")


def lines(out):
    return [json.loads(line) for line in out.decode("utf-8").splitlines()]


def wait_for(condition):
    deadline = time.monotonic() + 20
    while not condition():
        if time.monotonic() > deadline:
            raise AssertionError("waited in vain")
        time.sleep(0.005)


def panels(*arguments):
    quiet = [] if "--log" in arguments else ["--quiet"]
    return programs.panels(TAVRIN_PANEL, *quiet, "--beacon-interval", "100ms", *arguments)


class Case(unittest.TestCase):
    def setUp(self):
        self.root = tempfile.mkdtemp().encode()
        self.addCleanup(shutil.rmtree, self.root)
        self.panel = self.make("panel", folder=True)
        self.out = self.make("out", folder=True)

    def make(self, path, content=b"", folder=False):
        path = os.path.join(self.root, os.fsencode(path))
        os.makedirs(path if folder else os.path.dirname(path), exist_ok=True)
        if not folder:
            with open(path, "wb") as file:
                file.write(content)
        return path

    def panel_argument(self, address="127.0.0.2", rest=":Line1:ARM:1.23"):
        return f"{address}={os.fsdecode(self.panel)}{rest}"

    def content(self, path):
        with open(os.path.join(self.root, os.fsencode(path)), "rb") as file:
            return file.read()

    def at(self, *arguments):
        return run("--panel", "127.0.0.2", *arguments)


class Discovery(Case):
    def test_shows_panels_and_refuses_to_guess(self):
        second = self.panel_argument("127.0.0.3", ":Two words:X86:3.10")
        with panels("--panel", self.panel_argument(), "--panel", second):
            code, out, err = run("--wait", "1", "discover", "--json")
            self.assertEqual((code, err), (0, ""))
            self.assertCountEqual(lines(out), [
                {"address": "127.0.0.2", "project": "Line1", "processor": "ARM", "version": "1.23"},
                {"address": "127.0.0.3", "project": "Two words", "processor": "X86", "version": "3.10"}])
            code, out, err = run("discover", "-p", "127.0.0.3")
            self.assertEqual((code, out.split()), (0, b"127.0.0.3 X86 3.10 Two words".split()))
            code, out, err = run("--wait", "1", "command", "TM")
            self.assertEqual((code, out), (3, b""))
            self.assertIn("127.0.0.3  Two words", err)
            code, out, err = run("-p", "127.0.0.9", "--wait", "0.5", "list")
            self.assertEqual((code, out), (3, b""))
            self.assertRegex(err, "no beacon of 127.0.0.9 in 0.5 s.*our network lo.*\n(.*\n)*.*127.0.0.2")
        code, out, err = run("--wait", "0.5", "list")
        self.assertEqual((code, out), (3, b""))
        self.assertRegex(err, "no panel was heard.*lo \\(127.0.0.1/8\\)")

    def test_watch_shows_coming_and_going(self):
        with panels("--panel", self.panel_argument()):
            watch = start("discover", "--watch", "--json")
            self.assertIn(b'{"event":"come","address":"127.0.0.2"', watch.stdout.readline())
            with panels("--panel", self.panel_argument("127.0.0.3")):
                self.assertIn(b'{"event":"come","address":"127.0.0.3"', watch.stdout.readline())
            self.assertIn(b'{"event":"gone","address":"127.0.0.3"', watch.stdout.readline())
            watch.send_signal(signal.SIGINT)
            self.assertEqual(watch.communicate(timeout=20)[0], b"")
            self.assertEqual(watch.returncode, 130)
            code, out, _ = run("discover", "--watch", "--wait", "0.5")
            self.assertEqual((code, out[:2]), (0, b"+ "))


class Commands(Case):
    def test_commands_and_queries_in_both_modes(self):
        self.make("panel/old.txt", b"x")
        block = self.make("block.bin", bytes(range(256)) * 20)
        with panels("--panel", self.panel_argument()):
            for mode in ("--posted", "--direct"):
                self.assertEqual(self.at(mode, "command", "tm")[:2], (0, b""))
                code, out, _ = self.at(mode, "--json", "command", "MD", "new")
                self.assertEqual((code, lines(out)[0]["ok"]), (0, True))
                self.assertTrue(os.path.isdir(os.path.join(self.panel, b"new")))
                os.rmdir(os.path.join(self.panel, b"new"))
                code, out, err = self.at(mode, "command", "RM", "nothing")
                self.assertEqual((code, out), (1, b""))
                self.assertIn("answers the version query", err)
                code, out, _ = self.at(mode, "-j", "identify")
                self.assertEqual(code, 0)
                self.assertEqual(lines(out)[0]["project"], "Line1")
                self.assertEqual(len(lines(out)[0]["words"]), 3)
                code, out, _ = self.at(mode, "--json", "send-block", block, "SPLASH")
                self.assertEqual((code, lines(out)[0]["bytes"]), (0, 5120))
            # The only panel heard needs no name.
            self.assertEqual(run("--wait", "0.5", "command", "RM", "old.txt")[0], 0)
            self.assertFalse(os.path.exists(os.path.join(self.panel, b"old.txt")))

    def test_silent_panel(self):
        script = self.make("script", b"TM * silent\nVS * silent\nUP * silent\nDR * silent\n")
        with panels("--panel", self.panel_argument(), "--script", os.fsdecode(script)):
            for words in (["identify"], ["command", "TM"], ["list"], ["get", "a", self.out],
                          ["get", "-r", "a", self.out]):
                code, out, err = self.at("-t", "50", *words)
                self.assertEqual((code, out), (1, b""), words)
                self.assertRegex(err, "does not answer.*beacons were heard.*network lo", words)
            code, out, err = self.at("-t", "50", "--json", "get", "-r", "a", self.out)
            self.assertFalse(lines(out)[0]["ok"])

    def test_attempts_and_timeout(self):
        script = self.make("script", b"* * silent\n")
        with panels("--panel", self.panel_argument(), "--script", os.fsdecode(script), "--log") as panel:
            for options in (["--attempts", "2", "--timeout", "500"], ["-a", "5", "-t", "20"]):
                self.assertEqual(self.at(*options, "command", "TM")[0], 1)
            panel.terminate()
            sent = [float(time) for time in re.findall(rb" ([\d.]+)  \S+ -> \S+  TM ", panel.stdout.read())]
        self.assertEqual(len(sent), 2 + 5)
        self.assertGreaterEqual(sent[1] - sent[0], 0.49)
        self.assertLess(sent[6] - sent[2], 4 * 0.49)

    def test_usage(self):
        self.assertRegex(run("--version")[1], rb"^brenholt \d+\.\d+\.\d+\n$")
        for words in ([], ["nonsense"], ["list", "--nonsense"], ["get"], ["command", "XX"],
                      ["command", "TM", "text"], ["-p", "1.2.3", "list"], ["-a", "0", "list"],
                      ["--choose", "-p", "1.2.3.4", "list"], ["--posted", "--direct", "list"],
                      ["get", "--update", "x"]):
            code, out, err = run(*words)
            self.assertEqual((code, out), (2, b""), words)
            self.assertNotEqual(err, "")

    def test_link_cannot_run(self):
        for port in (10250, 10252):
            with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as taken:
                taken.bind(("127.0.0.1", port))
                code, out, err = run("discover")
                self.assertEqual((code, out), (4, b""))
                self.assertIn(f"UDP port {port},", err)
                self.assertIn("is taken", err)
        code, out, err = run("--module", self.make("no.so", b"no module"), "discover")
        self.assertEqual((code, out), (4, b""))

    @unittest.skipUnless(shutil.which("Xvfb") and shutil.which("xdotool"), "Xvfb or xdotool is missing")
    def test_chosen_panel_takes_the_command(self):
        server = programs.XServer({**ENVIRONMENT, "QT_QPA_PLATFORM": "xcb"})
        self.addCleanup(server.end)
        with panels("--panel", self.panel_argument()):
            for words, shown in ((["choose"], b"Line1\n"), (["-c", "identify"], b"Line1  0001 0000 0000\n")):
                host = subprocess.Popen([BRENHOLT, *words], env=server.environment, stdout=subprocess.PIPE,
                                        cwd=self.root)
                self.addCleanup(host.kill)
                server.enter("^Search Tavrin$")
                server.xdotool("key", "Tab", "Down", "Return")
                answer, _ = host.communicate(timeout=60)
                self.assertEqual((host.returncode, answer[:10]), (0, b"127.0.0.2 "))
                self.assertTrue(answer.endswith(shown), answer)

    def test_choose_needs_a_display(self):
        environment = {key: value for key, value in ENVIRONMENT.items()
                       if key not in ("DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM")}
        for words in (["choose"], ["-c", "list"]):
            result = subprocess.run([BRENHOLT, *words], capture_output=True, env=environment,
                                    timeout=60)
            self.assertEqual((result.returncode, result.stdout), (3, b""))
            self.assertIn(b"no display", result.stderr)
            self.assertEqual(result.stderr.count(b"\n"), 1, result.stderr)


class Files(Case):
    NAMES = [b"plain.txt", b"[a,b]", b"{}", b"%%", b"++", b"b\xff", b"e\xcc\x81", b"caf\xc3\xa9",
             b"two\nlines", b"n" * 200]

    def test_list(self):
        for name in self.NAMES:
            path = self.make(b"panel/dir/" + name, name)
            os.utime(path, (0, 1700000000))
        self.make("panel/empty", folder=True)
        with panels("--panel", self.panel_argument()):
            code, out, _ = self.at("list", "--json", "dir")
            self.assertEqual(code, 0)
            names = [bytes.fromhex(entry["name_bytes"]) if "name_bytes" in entry
                     else entry["name"].encode() for entry in lines(out)]
            self.assertCountEqual(names, self.NAMES)
            self.assertEqual({entry["time"] for entry in lines(out)}, {"2023-11-14T22:13:20Z"})
            code, out, _ = self.at("list", "dir")
            self.assertEqual(out.count(b"\n"), len(self.NAMES))
            self.assertIn(b"two\\x0Alines\n", out)
            self.assertIn(b"-          2  2023-11-14 22:13:20  b\xff\n", out)
            code, out, err = self.at("list", "empty")
            self.assertEqual((code, out), (0, b""))
            self.assertIn("is empty, or the panel refused", err)
            for folder, reason in (("none", "lists no such folder"), ("dir/plain.txt", "it is a file")):
                code, out, err = self.at("list", folder)
                self.assertEqual((code, out), (1, b""))
                self.assertIn(reason, err)
            with open("/dev/full", "wb") as full:
                process = subprocess.run([BRENHOLT, "-p", "127.0.0.2", "list"], stdout=full,
                                         stderr=subprocess.DEVNULL, timeout=60)
            self.assertEqual(process.returncode, 1)

    def test_get_files(self):
        for name in self.NAMES:
            self.make(b"panel/dir/" + name, name * 1000)
        with panels("--panel", self.panel_argument()):
            for mode in ("--posted", "--direct"):
                code, out, _ = self.at(mode, "--json", "get", "dir/none",
                                       *[b"dir\\" + name for name in self.NAMES], self.out)
                self.assertEqual(code, 1)
                self.assertEqual([line["ok"] for line in lines(out)], [False] + [True] * 10)
                self.assertCountEqual(os.listdir(self.out), self.NAMES)
                for name in self.NAMES:
                    self.assertEqual(self.content(b"out/" + name), name * 1000)
                    os.unlink(os.path.join(self.out, name))
            # Without a folder the current one; a single bracketed name stays whole.
            code, _, err = run("-p", "127.0.0.2", "get", "dir/[a,b]", cwd=self.out)
            self.assertEqual(code, 0, err)
            self.assertEqual(os.listdir(self.out), [b"[a,b]"])
            for words, reason in ((["get", "dir"], "use --recursive"),
                                  (["get", "dir/none"], "lists no such file"),
                                  (["get", "dir/" + "n" * 252], "carries 255 at most"),
                                  (["get", "dir/%%", "no-such-folder"], "No such file")):
                code, out, err = self.at(*words)
                self.assertEqual((code, out), (1, b""))
                self.assertIn(reason, err)

    def test_get_folder_and_update(self):
        for number, name in enumerate(self.NAMES):
            path = self.make(b"panel/dir/sub%d/" % (number % 3) + name, name * number)
            os.utime(path, (0, 1700000000 + number))
        self.make("panel/dir/hollow", folder=True)
        target = os.path.join(self.out, b"new/place")
        with panels("--panel", self.panel_argument()):
            code, out, err = self.at("--json", "get", "-r", "dir", target)
            self.assertEqual(code, 0, err)
            total = sum(len(name) * number for number, name in enumerate(self.NAMES))
            summary = lines(out)[0]
            self.assertEqual((summary["files"], summary["bytes"], summary["failed"]),
                             (len(self.NAMES), total, []))
            subprocess.run(["diff", "-r", os.path.join(self.panel, b"dir"), target], check=True)

            self.make(os.path.join(target, b"sub0/plain.txt"), b"changed")
            code, out, _ = self.at("--json", "get", "-ru", "dir", target)
            summary = lines(out)[0]
            self.assertEqual((code, summary["files"], summary["skipped"]),
                             (0, 1, len(self.NAMES) - 1))
            subprocess.run(["diff", "-r", os.path.join(self.panel, b"dir"), target], check=True)

            # A link in a folder's place is not followed, and several folders do not mix.
            outside = self.make("outside", folder=True)
            os.makedirs(os.path.join(self.out, b"dir"))
            os.symlink(outside, os.path.join(self.out, b"dir/sub0"))
            for flags in ("-r", "-ru"):
                code, out, err = self.at("get", flags, "dir", "dir/sub1", self.out)
                self.assertEqual((code, out), (1, b""))
                self.assertIn("failed: sub0/plain.txt", err)
                self.assertEqual(os.listdir(outside), [])
            self.assertIn(b"{}", os.listdir(os.path.join(self.out, b"sub1")) +
                          os.listdir(os.path.join(self.out, b"dir/sub2")))

    def test_folder_wider_than_the_walk(self):
        for number in range(1005):
            self.make(f"panel/dir/{number}", b"%d" % number)
        with panels("--panel", self.panel_argument()):
            code, out, err = self.at("--direct", "get", "-r", "dir", self.out)
            self.assertEqual((code, out), (0, b""), err)
            self.assertEqual(len(os.listdir(self.out)), 1005)

    def test_put(self):
        for name in self.NAMES[:6]:
            self.make(b"host/" + name, name * 5000)
        self.make("panel/into", folder=True)
        files = [os.path.join(self.root, b"host", name) for name in self.NAMES[:6]]
        empty = self.make("empty")
        with panels("--panel", self.panel_argument()):
            self.assertEqual(self.at("put", *files, "into")[0], 0)
            self.assertEqual(self.at("--direct", "put", files[0])[0], 0)
            self.assertEqual(self.at("put", files[0], "into/other")[0], 0)
            for name in self.NAMES[:6]:
                self.assertEqual(self.content(b"panel/into/" + name), name * 5000)
            self.assertEqual(self.content("panel/plain.txt"), self.content("panel/into/other"))
            for words, code, reason in (([empty, "x"], 1, "is empty"),
                                        ([self.root, "x"], 1, "is not a file"),
                                        (["no-such-file"], 1, "No such file"),
                                        ([files[0], files[1], files[2]], 2, "is a file here"),
                                        ([files[0], "no/such/folder"], 1, "refused")):
                result = self.at("put", *words)
                self.assertEqual(result[:2], (code, b""), words)
                self.assertIn(reason, result[2])


class Waiting(Case):
    def test_interrupt(self):
        self.make("panel/dir/slow.bin", bytes(100_000))
        self.make("panel/dir/later.bin", bytes(100_000))
        old = self.make("out/slow.bin", b"old")
        delayed = ["--script", os.fsdecode(self.make("script", b"UP * usual after 100ms\n"))]
        for words in (["get", "dir/slow.bin"], ["--direct", "get", "dir/slow.bin"],
                      ["get", "-r", "dir"], ["get", "-ru", "dir"]):
            for number in (signal.SIGINT, signal.SIGTERM):
                # A panel of its own: late answers to one run must not reach the next one.
                with panels("--panel", self.panel_argument(), *delayed):
                    process = start("-p", "127.0.0.2", *words, self.out)
                    wait_for(lambda: process.poll() is not None or
                             any(name.startswith(b"TMP") for name in os.listdir(self.out)))
                    began = time.monotonic()
                    process.send_signal(number)
                    out, err = process.communicate(timeout=20)
                self.assertEqual((process.returncode, out), (130, b""), (words, err))
                self.assertLess(time.monotonic() - began, 3)
                self.assertEqual(os.listdir(self.out), [b"slow.bin"])
                self.assertEqual(self.content(old), b"old")

    def test_interrupt_while_listening(self):
        shutil.copy(os.path.join(os.path.dirname(BRENHOLT), "brenholt.so"), os.path.join(self.out, b"other.so"))
        process = start("-w", "60", "--module", "other.so", "-p", "127.0.0.2", "list", cwd=self.out)
        wait_for(lambda: b":280A " in self.content(f"/proc/{process.pid}/net/udp"))
        self.assertIn(os.path.join(self.out, b"other.so"), self.content(f"/proc/{process.pid}/maps"))
        process.send_signal(signal.SIGINT)
        process.communicate(timeout=20)
        self.assertEqual(process.returncode, 130)

    def test_progress_is_for_terminals(self):
        for number in range(4):
            self.make(f"panel/dir/{number}", bytes(10_000))
        delayed = ["--script", os.fsdecode(self.make("script", b"UP * usual after 30ms\n"))]
        with panels("--panel", self.panel_argument(), *delayed):
            code, _, err = self.at("get", "-r", "dir", self.out)
            self.assertEqual(code, 0)
            self.assertNotIn("\r", err)
            for words in (["-r", "dir"], ["dir/1"], ["--direct", "dir/1"]):
                ours, theirs = pty.openpty()
                began = time.monotonic()
                process = subprocess.Popen([BRENHOLT, "-p", "127.0.0.2", "get", *words, self.out],
                                           stdout=subprocess.PIPE, stderr=theirs, env=ENVIRONMENT)
                process.communicate(timeout=60)
                seconds = time.monotonic() - began
                os.close(theirs)
                fcntl.fcntl(ours, fcntl.F_SETFL, os.O_NONBLOCK)
                shown = os.read(ours, 1 << 16).decode()
                os.close(ours)
                updates = re.findall(r"\r([^\r\n]*[0-9] s)\x1b\[K", shown)
                self.assertEqual(len(updates) > 0, "--direct" not in words)
                self.assertLessEqual(len(updates), 10 * seconds + 2)
                for update in updates[-1:]:
                    self.assertIn("of 4 files" if "-r" in words else "10.0 kB", update)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]], verbosity=2)

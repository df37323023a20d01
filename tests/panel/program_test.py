"""tavrin-panel as a program: what each of its options changes.

Usage: program_test.py TAVRIN_PANEL
"""

import pathlib
import re
import shutil
import socket
import subprocess
import sys
import tempfile
import time
import unittest

TAVRIN_PANEL = sys.argv.pop(1)
SUMMARY = r"(\d+) requests, (\d+) replies, (\d+) beacons; lost to faults: (\d+) requests, (\d+) replies\n"


class Program(unittest.TestCase):
    def setUp(self):
        self.root = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.root)
        self.host = self.socket("127.0.0.1", 0)

    def socket(self, *address):
        made = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.addCleanup(made.close)
        made.bind(address)
        made.settimeout(20)
        return made

    def start(self, *options, identity=""):
        panel = subprocess.Popen([TAVRIN_PANEL, "--panel", f"127.0.0.2={self.root}{identity}", *map(str, options)],
                                 stdout=subprocess.PIPE, text=True)
        self.addCleanup(panel.kill)
        self.assertEqual(panel.stdout.readline()[:18], "ready: 127.0.0.2 (")
        return panel

    def end(self, panel):
        """All that the program printed after the line "ready"."""
        panel.terminate()
        out, _ = panel.communicate(timeout=20)
        self.assertEqual(panel.returncode, 0)
        return out

    def ask(self, token, address="127.0.0.2"):
        self.host.sendto(f"Cmd={token}\0".encode(), (address, 10251))
        return self.host.recv(2000)

    def test_panels_and_beacons(self):
        hall = self.socket("127.0.0.9", 10250)
        more = ["--panel", f"127.0.0.3={self.root}:Two:ARM:1.02"]
        panel = self.start("--host", "127.0.0.9", "--beacon-interval", "20ms", *more, identity=":One:X86:3.10")
        self.assertEqual(self.ask("IP"), b"IP:X86:0310:One")
        self.assertEqual(self.ask("IP", "127.0.0.3"), b"IP:ARM:0102:Two")
        began = time.monotonic()
        heard = {hall.recv(2000)[18:] for _ in range(40)}
        self.assertLess(time.monotonic() - began, 15)
        self.assertEqual(heard, {b"One_X86_0310", b"Two_ARM_0102"})
        self.end(panel)

        panel = self.start("--host", "127.0.0.9", "--descriptor", "any text")
        while hall.recv(2000) != b"Is there anybody ?any text":
            pass
        self.end(panel)
        panel = self.start("--no-beacon")
        self.ask("TM")
        self.assertEqual(re.findall(SUMMARY, self.end(panel)), [("1", "1", "0", "0", "0")])

    def test_what_is_printed_and_captured(self):
        capture = self.root / "run.pcap"
        panel = self.start("--no-beacon", "--log", "--pcap", capture)
        self.ask("ML0-SPLASH\0" "12345678")
        shown = self.end(panel)
        self.assertRegex(shown, r" +0\.\d{6}  127\.0\.0\.1:\d+ -> 127\.0\.0\.2:10251  ML 0- \"SPLASH\"  24 bytes\n")
        self.assertIn('block at 127.0.0.2: "SPLASH", 9 bytes, crc32 94f1b12e\n', shown)
        self.assertIn(b"Cmd=ML0-SPLASH\0" b"12345678\0", capture.read_bytes())
        panel = self.start("--quiet")
        self.ask("ML0-SPLASH\0" "12345678")
        self.assertEqual(self.end(panel), "")

    def test_scripts_and_faults(self):
        script = self.root / "script"
        script.write_text('TM 1 "\\x01text"\nTM 2 "late" after 20ms\nTM 2 "soon" from-other-port\n')
        panel = self.start("--no-beacon", "--script", script)
        self.assertEqual([self.ask("TM"), self.ask("TM")], [b"\1text", b"soon"])
        self.assertEqual(self.host.recvfrom(2000), (b"late", ("127.0.0.2", 10251)))
        self.assertEqual(self.ask("TM"), b"ACK")
        self.end(panel)

        def fates(*options):
            panel = self.start("--no-beacon", "--log", *options)
            for _ in range(40):
                self.host.sendto(b"Cmd=TM\0", ("127.0.0.2", 10251))
            replies = []
            while len(replies) < 40:
                replies += re.findall(r" (->|-x) 127\.0\.0\.1:\d+  \"ACK\"", panel.stdout.readline())
            self.assertEqual(re.search(SUMMARY, self.end(panel))[5], str(replies.count("-x")))
            return replies

        self.assertNotIn("-x", fates())
        seven = fates("--fault", "lose=0.5,seed=7")
        self.assertEqual(fates("--fault", "lose=0.5", "--seed", "7"), seven)
        self.assertNotEqual(fates("--fault", "lose=0.5", "--seed", "8"), seven)

    def test_spin_keeps_a_core_awake(self):
        panel = self.start("--no-beacon", "--spin", "60s")
        self.ask("TM")
        deadline = time.monotonic() + 60
        while sum(map(int, pathlib.Path(f"/proc/{panel.pid}/stat").read_text().split()[13:15])) < 10:
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.01)
        self.end(panel)

    def test_what_cannot_run(self):
        panel = f"127.0.0.2={self.root}"
        script = self.root / "script"
        script.write_text("TM 1 silent\nTM x usual\n")
        self.socket("127.0.0.2", 10251)
        for words, code, reason in (
                ([], 2, "--panel is required"), (["127.0.0.2"], 2, "ADDRESS=FOLDER"),
                ([f"{panel}:P:MIPS"], 2, "ARM or X86"), ([f"{panel}:P:ARM:1"], 2, "looks like 1.23"),
                ([panel, "--log", "--quiet"], 2, "excludes"),
                ([panel, "--fault", "lsoe=1"], 2, "no such fault"), ([panel, "--host", "x"], 2, "IPv4"),
                ([panel, "--beacon-interval", "5"], 2, "needs a unit"), ([panel, "--script", script], 2, "line 2"),
                (["127.0.0.2=/nonexistent"], 1, "/nonexistent"), ([panel], 1, "127.0.0.2:10251"),
                (["192.0.2.1=/tmp"], 1, "192.0.2.1"), ([panel, "--pcap", "/nonexistent/f"], 1, "/nonexistent/f"),
                ([panel, "--pcap", "/dev/full"], 1, "capture file")):
            result = subprocess.run([TAVRIN_PANEL, *(["--panel", *map(str, words)] if words else [])],
                                    capture_output=True, text=True, timeout=20)
            self.assertEqual((result.returncode, result.stdout), (code, ""), words)
            self.assertIn(reason, result.stderr)


if __name__ == "__main__":
    unittest.main(verbosity=2)

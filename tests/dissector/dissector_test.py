"""The Wireshark dissector on captures of the simulated panel, read with tshark.

Usage: dissector_test.py DISSECTOR BRENHOLT TAVRIN_PANEL
"""

import os
import pathlib
import random
import shutil
import socket
import struct
import subprocess
import sys
import tempfile
import unittest

import programs

DISSECTOR, BRENHOLT, TAVRIN_PANEL = sys.argv[1:4]
del sys.argv[1:]
RECORD = struct.Struct("<4I8xB")


@unittest.skipUnless(shutil.which("tshark"), "tshark is not installed")
class Case(unittest.TestCase):
    def setUp(self):
        self.root = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.root)
        self.panel = self.root / "panel"
        self.panel.mkdir()
        self.capture = self.root / "run.pcap"

    def write(self, packets):
        """A capture of datagrams, each (source port, destination port, bytes)."""
        with self.capture.open("wb") as file:
            file.write(struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, 101))
            for index, (source, target, data) in enumerate(packets):
                ends = bytes([127, 0, 0, 2, 127, 0, 0, 1] if target == 10252 else [127, 0, 0, 1, 127, 0, 0, 2])
                packet = struct.pack(">BBHHHBBH8sHHHH", 0x45, 0, 28 + len(data), 0, 0, 64, 17, 0, ends, source,
                                     target, 8 + len(data), 0) + data
                file.write(struct.pack("<4I", index, 0, len(packet), len(packet)) + packet)

    def tshark(self, *options):
        result = subprocess.run(["tshark", "-X", f"lua_script:{DISSECTOR}", "-2", "-r", self.capture, *options],
                                capture_output=True, text=True, timeout=60,
                                env={**os.environ, "TZ": "UTC", "HOME": str(self.root)})
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertNotIn("Lua", result.stdout + result.stderr)
        return result.stdout

    def rows(self, condition, *fields):
        """A list of texts for each frame, one text a field; repeated fields are joined by '|'."""
        words = [word for field in fields
                 for word in ("-e", field if field.startswith(("frame.", "_ws.")) else f"tavrin.{field}")]
        out = self.tshark("-Y", condition, "-T", "fields", "-E", "aggregator=|", *words)
        return [line.split("\t") for line in out.splitlines()]

    def data(self, condition):
        return bytes.fromhex("".join(row[0] for row in self.rows(condition, "data")))


class Exchanges(Case):
    def at(self, *arguments):
        return subprocess.run([BRENHOLT, "--panel", "127.0.0.2", *map(str, arguments)],
                              capture_output=True, timeout=60).returncode

    def test_every_command(self):
        content = random.Random(1).randbytes(16000)
        (self.panel / "big.bin").write_bytes(content)
        (self.root / "up.bin").write_bytes(content)
        names = sorted(f"größe{index:02}" for index in range(50))
        for name in names:
            (self.panel / "dir" / name).mkdir(parents=True)
        os.utime(self.panel / "big.bin", (0, 1700000000))
        plain = {"TM": [], "EX": ["run"], "CL": ["all"], "MD": ["new"], "FF": ["big.bin"], "FD": ["dir"],
                 "RM": ["nothing"]}
        with programs.panels(TAVRIN_PANEL, "--quiet", "--panel", f"127.0.0.2={self.panel}:Line_1:X86:3.10",
                             "--pcap", self.capture, "--beacon-interval", "100ms"):
            self.assertEqual([self.at("command", token, *text) for token, text in plain.items()], [0] * 6 + [1])
            for words in (["identify"], ["list", "dir"], ["get", "big.bin", self.root],
                          ["put", self.root / "up.bin", "new.bin"], ["send-block", self.root / "up.bin", "SPLASH"]):
                self.assertEqual(self.at(*words), 0, words)
            with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as host:
                host.bind(("127.0.0.1", 10252))
                host.settimeout(10)
                host.sendto(b"Cmd=IP\0", ("127.0.0.2", 10251))
                host.recv(2000)

        self.assertEqual(self.rows("tavrin.malformed || tavrin.odd || tavrin.sequence", "frame.number"), [])
        self.assertEqual({tuple(row) for row in self.rows("tavrin.beacon", "project", "processor", "version")},
                         {("Line_1", "X86", "3.10")})
        commands = self.rows("tavrin.command", "command", "text", "reply_in")
        self.assertEqual({row[0] for row in commands}, {*plain, "VS", "IP", "DR", "UP", "DL", "ML"})
        for token, text in plain.items():
            self.assertIn([token, "".join(text)], [row[:2] for row in commands])
        replies = dict(self.rows("tavrin.request_in", "frame.number", "request_in"))
        requests = dict(self.rows("tavrin.command", "frame.number", "reply_in"))
        self.assertEqual(requests, {request: reply for reply, request in replies.items()})

        self.assertEqual(self.rows("tavrin.refused", "reply"), [["NAK"]])
        self.assertIn(["0x0001|0x0000|0x0000"], self.rows("tavrin.word", "word"))
        self.assertEqual(self.rows("tavrin.processor && tavrin.reply", "processor", "version", "project"),
                         [["X86", "3.10", "Line_1"]])
        self.assertEqual([row[0] for row in self.rows('tavrin.command == "DR"', "digit")], ["0", "1"])
        pages = self.rows("tavrin.count", "more", "record.name", "record.folder")
        self.assertEqual([row[0] for row in pages], ["1", "0"])
        self.assertEqual(sorted("|".join(row[1] for row in pages).split("|")), names)
        self.assertEqual(set("|".join(row[2] for row in pages).split("|")), {"1"})

        fetched = self.rows('tavrin.command == "UP"', "offset")
        self.assertEqual([int(row[0]) for row in fetched], list(range(0, 16000, 1363)))
        self.assertEqual(self.data("tavrin.data && tavrin.reply"), content)
        self.assertIn("Nov 14, 2023 22:13:20", self.rows("tavrin.data && tavrin.reply", "record.time")[-1][0])
        for token, sign in (("DL", [""]), ("ML", ["0"])):
            self.assertEqual(self.data(f'tavrin.command == "{token}"'), content)
            sent = self.rows(f'tavrin.command == "{token}"', "digit", "more")
            self.assertEqual("".join(row[0] for row in sent), "0123456789123"[:len(sent)])
            self.assertEqual([sent[-1][1]], sign)
        self.assertEqual({tuple(row) for row in self.rows('tavrin.command == "DL"', "record.name", "record.size")},
                         {("up.bin", "16000")})

    def test_repetitions_and_strays(self):
        def asks(token):
            return 10252, 10251, b"Cmd=" + token

        answer = (10251, 10252, b"ACK")
        sent = RECORD.pack(1, 0, 0, 0, 1) + b"t\0x"
        self.write([asks(b"TM\0"), asks(b"TM\0"), answer, asks(b"TM\0"), answer, asks(b"EX\0"), answer, answer,
                    asks(b"CL\0"), (4000, 10252, b"ACK"), asks(b"DL0t\0" + sent), (10251, 10252, b"ACK7")])
        self.assertEqual(self.rows("tavrin.command", "command", "repeats"),
                         [["TM", ""], ["TM", "1"], ["TM", ""], ["EX", ""], ["CL", ""], ["DL", ""]])
        strays = "|".join(row[0] for row in self.rows("tavrin.sequence", "_ws.expert.message"))
        for text in ("Not from port 10251", 'Acknowledges "7", the request has "0"', "answered in frame"):
            self.assertIn(text, strays)


class Malformed(Case):
    def test_requests(self):
        record = RECORD.pack(1, 0, 0, 0, 1)
        reserved = record[:16] + b"\1" + record[17:]
        cases = {
            b"Cmd=XX\0": "Not a request", b"cmd=TM\0": "Not a request", b"Cmd=TM": "No NUL",
            b"Cmd=TM\0x": "Bytes after the text", b"Cmd=DRx\0": "No sequence digit", b"Cmd=DR": "No sequence digit",
            b"Cmd=ML0*t\0x": "No '+' or '-'", b"Cmd=ML0-t\0": "No data", b"Cmd=UP0000000a\0": "No eight",
            b"Cmd=UP00\0": "No eight", b"Cmd=DL0t\0" + record[:-1]: "record is cut",
            b"Cmd=DL0t\0" + record + b"tt": "name area", b"Cmd=DL0t\0" + record + b"t\0": "No file data",
            b"Cmd=DL0t\0" + reserved + b"t\0x": "Reserved", b"Cmd=ML0-" + bytes(1393): "More than 1400",
        }
        self.write([(10252, 10251, datagram) for datagram in cases])
        found = self.rows("tavrin", "_ws.expert.message")
        for (datagram, expected), (message,) in zip(cases.items(), found, strict=True):
            self.assertIn(expected, message, datagram)

    def test_replies(self):
        entry = RECORD.pack(1, 0, 0, 0, 4) + b"name"
        cases = [
            ("RM", b"", b"ack", "fails"), ("VS", b"", b"ACK00010000000", "Fewer than 15"),
            ("VS", b"", b"ACK000100x00000", "Not four hex"), ("IP", b"", b"IP:ARM:0102", "Not \"IP\""),
            ("IP", b"", b"IP:arm:0102:", "Neither"), ("IP", b"", b"IP:ARM:01x2:", "Not four digits"),
            ("DR", b"0", b"ACK0", "page is cut"), ("DR", b"0", b"ACK0\0\2" + entry + entry[:-1], "Record 2 of 2"),
            ("DR", b"0", b"ACK0\0\1", "Record 1 of 1"), ("DR", b"0", b"ACK0\0\1" + entry + b"x", "Bytes after"),
            ("DR", b"0", b"A\0K0\0\0", "shorter than 3"), ("UP", b"00000000", b"ACK0" + bytes(32), "37 bytes"),
            ("UP", b"00000000", b"AC" + bytes(40), "shorter than 3"),
            ("UP", b"00000000", b"ACK+" + bytes(33), "No data"), ("DL", b"0", b"ACK", "Acknowledges"),
            ("DL", b"0", b"NAK", "sends? .*again"), ("ML", b"0-", b"NAK", "send the datagram again"),
        ]
        payload = {"DL": b"t\0" + RECORD.pack(1, 0, 0, 0, 1) + b"t\0x", "ML": b"t\0x"}
        self.write([packet for token, more, reply, _ in cases for packet in (
            (10252, 10251, b"Cmd=" + token.encode() + more + payload.get(token, b"t\0")), (10251, 10252, reply))])
        found = self.rows("tavrin.reply", "_ws.expert.message")
        for (token, _, reply, expected), (message,) in zip(cases, found, strict=True):
            self.assertRegex(message, expected, (token, reply))

    def test_any_bytes(self):
        chance = random.Random(7)
        entry = RECORD.pack(1, 2**32 - 1, 2**32 - 1, 16, 4) + b"name"
        seeds = [b"Is there anybody ?Line1_ARM_0102", b"Cmd=TM\0", b"Cmd=VS\0", b"Cmd=IP\0", b"Cmd=DR0a\0",
                 b"Cmd=UP00000000a\0", b"Cmd=DL0t\0" + entry + b"\0x", b"Cmd=ML0+t\0x", b"ACK0\0\2" + entry * 2,
                 b"ACK0" + bytes(40), b"IP:ARM:0102:Line1", b"ACK000100020003", b""]
        packets = [(10252, 10251, datagram) for datagram in seeds]
        for _ in range(4000):
            datagram = bytearray(chance.choice(seeds))
            for _ in range(chance.randrange(3)):
                if datagram:
                    datagram[chance.randrange(len(datagram))] = chance.randrange(256)
            del datagram[chance.randrange(len(datagram) + 1) if chance.random() < 0.5 else len(datagram):]
            packets.append((*chance.choice([(10252, 10251), (10251, 10252), (40000, 10250)]), bytes(datagram)))
        self.write(packets)
        self.assertNotIn("Lua Error", self.tshark("-V"))


if __name__ == "__main__":
    unittest.main()

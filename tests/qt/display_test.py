"""A process without Qt of its own, with and without a display.

Usage: display_test.py PROBE BACKEND [unittest arguments]
"""
import os
import queue
import shutil
import subprocess
import sys
import tempfile
import threading
import unittest

import programs

PROBE, BACKEND = sys.argv[1:3]
DISPLAY_NAMES = ("DISPLAY", "WAYLAND_DISPLAY", "WAYLAND_SOCKET", "QT_QPA_PLATFORM", "XAUTHORITY")


def environment(**extra):
    rest = {name: value for name, value in os.environ.items() if name not in DISPLAY_NAMES}
    return {**rest, "LANG": "C.UTF-8", **extra}


class NoDisplay(unittest.TestCase):
    def probe(self, **extra):
        return subprocess.run([PROBE, BACKEND], env=environment(**extra), text=True,
                              capture_output=True, timeout=60)

    def test_nothing_aborts_the_host(self):
        with tempfile.TemporaryDirectory() as empty:
            cases = [("DISPLAY", value) for value in ("", ":4711", "no display at all", "127.0.0.1:4711")]
            cases += [("WAYLAND_DISPLAY", value) for value in ("nobody", "/" + "x" * 200)]
            cases += [("QT_QPA_PLATFORM", value) for value in ("nonsense", ";;", "eglfs", "wayland")]
            for case in [{}, *({name: value, "XDG_RUNTIME_DIR": empty} for name, value in cases)]:
                with self.subTest(case):
                    result = self.probe(**case)
                    self.assertEqual((result.returncode, result.stdout, result.stderr), (0, "refused\n", ""))

    def test_the_first_platform_that_answers_is_taken(self):
        with tempfile.TemporaryDirectory() as folder:
            with open(os.path.join(folder, "libqoffscreen.so"), "wb") as broken:
                broken.write(b"\x7fELF" + bytes(100))
            for plugins in ({}, {"QT_QPA_PLATFORM_PLUGIN_PATH": folder}):  # the good one is next
                result = self.probe(QT_QPA_PLATFORM="xcb;nonsense;offscreen", **plugins)
                self.assertEqual((result.returncode, result.stdout), (0, "opened locale C\n"), result.stderr)


class Session:
    """The probe's dialog on an X server of its own."""

    def __init__(self):
        self.server = programs.XServer(environment())
        # Qt complains of a missing XDG_RUNTIME_DIR, but not in a host's process.
        self.server.environment.pop("XDG_RUNTIME_DIR", None)
        self.probe = subprocess.Popen([PROBE, BACKEND, "run"], env=self.server.environment, text=True,
                                      stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.lines = queue.Queue()
        threading.Thread(target=self.read, daemon=True).start()

    def read(self):
        for line in self.probe.stdout:
            self.lines.put(line.strip())

    def line(self):
        return self.lines.get(timeout=60)

    def go_on(self):
        self.probe.stdin.write("\n")
        self.probe.stdin.flush()

    def close(self):
        self.probe.kill()
        self.probe.wait()
        self.server.end()
        for stream in (self.probe.stdin, self.probe.stdout, self.probe.stderr):
            stream.close()


class XServer(unittest.TestCase):
    @unittest.skipUnless(shutil.which("Xvfb") and shutil.which("xdotool"), "Xvfb or xdotool is missing")
    def test_keys_and_mouse_of_an_x_server(self):
        session = Session()
        self.addCleanup(session.close)
        xdotool = session.server.xdotool
        dialog = session.server.enter("^Search Tavrin$")
        xdotool("key", "Tab", "Down")
        self.assertEqual(session.line(), "event 0x4e 1023 -101 row 0")
        xdotool("key", "Down")
        self.assertEqual(session.line(), "event 0x4e 1023 -101 row 1")

        xdotool("key", "Tab", "Tab", "space")
        self.assertEqual(session.line(), "event 0x111 1026 0 row 1")
        session.server.enter("^Search Tavrin$", dialog)
        xdotool("key", "Escape")
        self.assertEqual(session.line(), "answer 2")

        xdotool("windowfocus", "--sync", dialog)
        xdotool("mousemove", "--window", dialog, "30", "45", "click", "1")
        self.assertEqual(session.line(), "event 0x4e 1023 -101 row 0")

        # What the user does while he has to wait goes nowhere.
        xdotool("key", "Tab", "space")
        self.assertEqual([session.line() for _ in range(2)], ["event 0x111 1024 0 row 0", "waits"])
        xdotool("key", "Tab", "space", "Escape", "mousemove", "--window", dialog, "30", "65", "click", "1")
        session.go_on()
        self.assertEqual(session.line(), "waited")
        xdotool("key", "shift+Tab", "Return")
        self.assertEqual([session.line() for _ in range(2)], ["event 0x111 1 0 row 0", "ended 1"])

        # Its display ends, the process does not.
        session.server.end()
        session.go_on()
        self.assertEqual([session.line() for _ in range(2)], ["refused", "opened locale C"])
        self.assertEqual(session.probe.wait(timeout=60), 0)
        self.assertEqual(session.probe.stderr.read(), "")


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]])

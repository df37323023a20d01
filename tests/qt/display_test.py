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
            cases = [
                {},
                {"DISPLAY": ""},
                {"DISPLAY": ":4711"},
                {"DISPLAY": "no display at all"},
                {"DISPLAY": "127.0.0.1:4711"},
                {"WAYLAND_DISPLAY": "nobody"},
                {"WAYLAND_DISPLAY": "/" + "x" * 200},
                {"QT_QPA_PLATFORM": "nonsense"},
                {"QT_QPA_PLATFORM": ";;"},
                {"QT_QPA_PLATFORM": "eglfs"},
                {"QT_QPA_PLATFORM": "wayland", "XDG_RUNTIME_DIR": empty},
            ]
            for case in cases:
                with self.subTest(case):
                    result = self.probe(**case)
                    self.assertEqual((result.returncode, result.stdout), (0, "refused\n"))
                    self.assertLessEqual(result.stderr.count("\n"), 1, result.stderr)

    def test_a_broken_plugin_does_not_either(self):
        with tempfile.TemporaryDirectory() as folder:
            with open(os.path.join(folder, "libqoffscreen.so"), "wb") as plugin:
                plugin.write(b"\x7fELF" + bytes(100))
            result = self.probe(QT_QPA_PLATFORM="nonsense;offscreen", QT_QPA_PLATFORM_PLUGIN_PATH=folder)
            self.assertEqual(result.stdout, "opened locale C\n", result.stderr)  # the good one is next

    def test_the_first_platform_that_answers_is_taken(self):
        result = self.probe(QT_QPA_PLATFORM="xcb;nonsense;offscreen")
        self.assertEqual((result.returncode, result.stdout), (0, "opened locale C\n"), result.stderr)


class Session:
    """The probe's dialog on an X server of its own."""

    def __init__(self):
        read, write = os.pipe()
        self.server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write), "-noreset", "-nolisten", "tcp", "-screen", "0", "1024x768x24"],
            pass_fds=[write], stderr=subprocess.DEVNULL)
        os.close(write)
        with os.fdopen(read) as numbers:
            self.environment = environment(DISPLAY=":" + numbers.readline().strip())
        self.probe = subprocess.Popen([PROBE, BACKEND, "run"], env=self.environment, text=True,
                                      stdout=subprocess.PIPE)
        self.lines = queue.Queue()
        threading.Thread(target=self.read, daemon=True).start()

    def read(self):
        for line in self.probe.stdout:
            self.lines.put(line.strip())

    def line(self):
        return self.lines.get(timeout=60)

    def xdotool(self, *arguments):
        return subprocess.run(["xdotool", *arguments], env=self.environment, check=True, text=True,
                              capture_output=True, timeout=60).stdout.split()

    def enter(self, *search):
        """Waits for a window and gives it the focus, as a window manager would."""
        window = self.xdotool("search", "--sync", "--onlyvisible", *search)[-1]
        self.xdotool("windowfocus", "--sync", window)
        return window

    def close(self):
        for process in (self.probe, self.server):
            process.kill()
            process.wait()
        self.probe.stdout.close()


class XServer(unittest.TestCase):
    @unittest.skipUnless(shutil.which("Xvfb") and shutil.which("xdotool"), "Xvfb or xdotool is missing")
    def test_keys_and_mouse_of_an_x_server(self):
        session = Session()
        self.addCleanup(session.close)
        dialog = session.enter("--name", "^Search Tavrin$")
        session.xdotool("key", "Tab", "Down")
        self.assertEqual(session.line(), "event 0x4e 1023 -101 row 0")
        session.xdotool("key", "Down")
        self.assertEqual(session.line(), "event 0x4e 1023 -101 row 1")

        session.xdotool("key", "Tab", "Tab", "space")
        self.assertEqual(session.line(), "event 0x111 1026 0 row 1")
        session.enter("--name", "^window_probe$")
        session.xdotool("key", "Escape")
        self.assertEqual(session.line(), "answer 2")

        session.xdotool("windowfocus", "--sync", dialog)
        session.xdotool("mousemove", "--window", dialog, "30", "45", "click", "1")
        self.assertEqual(session.line(), "event 0x4e 1023 -101 row 0")
        session.xdotool("key", "Return")
        self.assertEqual([session.line() for _ in range(3)],
                         ["event 0x111 1 0 row 0", "ended 1", "opened locale C"])
        self.assertEqual(session.probe.wait(timeout=60), 0)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]])

"""A person chooses a panel in the window of the command-line host.

Usage: choose_test.py HOST PANEL [unittest arguments]
"""
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

HOST, PANEL = sys.argv[1:3]


class Choose(unittest.TestCase):
    @unittest.skipUnless(shutil.which("Xvfb") and shutil.which("xdotool"), "Xvfb or xdotool is missing")
    def test_chosen_panel_takes_the_command(self):
        folder = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, folder)
        panel = self.start([PANEL, "--panel", "127.0.0.2=" + folder + ":Line1",
                            "--beacon-interval", "100ms"], stdout=subprocess.PIPE, text=True)
        self.assertIn("ready", panel.stdout.readline())

        read, write = os.pipe()
        self.start(["Xvfb", "-displayfd", str(write), "-noreset", "-nolisten", "tcp",
                    "-screen", "0", "1024x768x24"], pass_fds=[write], stderr=subprocess.DEVNULL)
        os.close(write)
        with os.fdopen(read) as numbers:
            display = ":" + numbers.readline().strip()
        environment = {**os.environ, "DISPLAY": display, "QT_QPA_PLATFORM": "xcb"}

        def xdotool(*arguments):
            return subprocess.run(["xdotool", *arguments], env=environment, check=True, text=True,
                                  capture_output=True, timeout=60).stdout.split()

        for words, expected in ((["choose"], "Line1\n"), (["--choose", "identify"], "Line1  0001 0000 0000\n")):
            host = self.start([HOST, *words], env=environment, stdout=subprocess.PIPE, text=True, cwd=folder)
            dialog = xdotool("search", "--sync", "--onlyvisible", "--name", "^Search Tavrin$")[-1]
            xdotool("windowfocus", "--sync", dialog)
            xdotool("key", "Tab", "Down", "Return")
            answer, _ = host.communicate(timeout=60)
            self.assertEqual(host.returncode, 0)
            self.assertRegex(answer, rf"^127\.0\.0\.2 .*{expected}$")

    def start(self, command, **options):
        process = subprocess.Popen(command, **options)

        def end():
            process.kill()
            process.wait()
            if process.stdout:
                process.stdout.close()
        self.addCleanup(end)
        return process


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]])

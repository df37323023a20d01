"""A person chooses a panel in the window of the command-line host.

Usage: choose_test.py HOST PANEL [unittest arguments]
"""
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

import programs

HOST, PANEL = sys.argv[1:3]


class Choose(unittest.TestCase):
    @unittest.skipUnless(shutil.which("Xvfb") and shutil.which("xdotool"), "Xvfb or xdotool is missing")
    def test_chosen_panel_takes_the_command(self):
        folder = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, folder)
        server = programs.XServer({**os.environ, "QT_QPA_PLATFORM": "xcb"})
        self.addCleanup(server.end)
        options = ["--panel", f"127.0.0.2={folder}:Line1", "--beacon-interval", "100ms"]
        with programs.panels(PANEL, *options):
            self.choose(server, folder)

    def choose(self, server, folder):
        for words, expected in ((["choose"], "Line1\n"), (["--choose", "identify"], "Line1  0001 0000 0000\n")):
            host = subprocess.Popen([HOST, *words], env=server.environment, stdout=subprocess.PIPE, text=True,
                                    cwd=folder)
            self.addCleanup(host.kill)
            server.enter("^Search Tavrin$")
            server.xdotool("key", "Tab", "Down", "Return")
            answer, _ = host.communicate(timeout=60)
            self.assertEqual(host.returncode, 0)
            self.assertRegex(answer, rf"^127\.0\.0\.2 .*{expected}$")


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]])

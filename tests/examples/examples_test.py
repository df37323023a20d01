"""The smallest hosts against a simulated panel.

Usage: examples_test.py MODULE TAVRIN_PANEL C_HOST PYTHON_HOST
"""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

import programs

MODULE, TAVRIN_PANEL, C_HOST, PYTHON_HOST = sys.argv[1:5]
del sys.argv[1:]
HOSTS = [[C_HOST], [sys.executable, PYTHON_HOST]]


def run(host, *arguments):
    result = subprocess.run([*host, *arguments], capture_output=True, timeout=60, text=True,
                            env={**os.environ, "LC_ALL": "C.UTF-8"})
    return result.returncode, result.stdout, result.stderr


class Examples(unittest.TestCase):
    def test_find_a_panel_and_list_its_folder(self):
        with tempfile.TemporaryDirectory() as folder:
            pathlib.Path(folder, "größe.scr").write_bytes(bytes(1234))
            pathlib.Path(folder, "screens").mkdir()
            with programs.panels(TAVRIN_PANEL, "--quiet", "--panel", f"127.0.0.2={folder}"):
                for host in HOSTS:
                    code, out, err = run(host, MODULE, "127.0.0.2")
                    self.assertEqual((code, err), (0, ""), host)
                    self.assertRegex(out, r"^127\.0\.0\.2: 0001 0000 0000\n")
                    self.assertIn("      1234  größe.scr\n", out)
                    self.assertIn("  screens/\n", out)

    def test_say_what_went_wrong(self):
        for host in HOSTS:
            code, out, err = run(host, MODULE, "127.0.0.9")
            self.assertEqual((code, out), (1, ""))
            self.assertIn("was not heard", err)
            self.assertNotEqual(run(host, "/nonexistent/brenholt.so", "127.0.0.2")[0], 0)


if __name__ == "__main__":
    unittest.main()

"""Help, manual page and completion of the command-line host name the same things.

Usage: manuals_test.py BRENHOLT SOURCE_DIR
"""

import os
import re
import subprocess
import sys
import unittest

BRENHOLT, SOURCE = sys.argv[1:3]


class Manuals(unittest.TestCase):
    def help(self, *words):
        return subprocess.run([BRENHOLT, *words, "--help"], capture_output=True, text=True,
                              check=True, timeout=60).stdout

    def test_help_man_and_completion_agree(self):
        top = self.help()
        names = re.findall(r"^  ([a-z][a-z-]*) ", top.split("Subcommands:")[1], re.MULTILINE)
        self.assertEqual(len(names), 8)
        texts = {name: self.help(name) for name in names}
        for name, text in texts.items():
            self.assertRegex(text, rf"Example:\n  brenholt .*{name}")
        options = {option for text in [top, *texts.values()]
                   for option in re.findall(r"^ +(?:-., ?|-.,)?(--[a-z]+)", text, re.MULTILINE)}
        short = {option for text in [top, *texts.values()]
                 for option in re.findall(r"^ +(-[a-z]),", text, re.MULTILINE)}
        with open(os.path.join(SOURCE, "docs/man/brenholt.1")) as file:
            manual = file.read().replace("\\-", "-")
        with open(os.path.join(SOURCE, "tools/host/brenholt.bash-completion")) as file:
            completion = file.read()
        said = r"(?<![\w-])(--?[a-z][a-z-]*)"
        self.assertGreaterEqual(len(options), 13)
        self.assertEqual(set(re.findall(said, manual)) & {*options, *short}, options | short)
        for option in set(re.findall(r"(?<![\w-])(--[a-z]+)", manual)):
            self.assertIn(option, options)
        words = set(re.findall(r"[\w-]+", completion))
        self.assertLessEqual(options | short | set(names), words)
        for name in names:
            self.assertIn(f"\n.B {name}\n", manual)

    def test_completion(self):
        script = (f"source '{SOURCE}/tools/host/brenholt.bash-completion'; compopt() {{ :; }};"
                  "COMP_WORDS=(\"$@\"); COMP_CWORD=$(($#-1)); _brenholt; echo \"${COMPREPLY[@]}\"")
        for words, expected in ((["d"], "discover"), (["-p", "1.2.3.4", "comm"], "command"),
                                (["command", "R"], "RM"), (["discover", "--wat"], "--watch"),
                                (["get", "--rec"], "--recursive"), (["list", "--rec"], "")):
            result = subprocess.run(["bash", "-c", script, "bash", "brenholt", *words],
                                    capture_output=True, text=True, timeout=20)
            self.assertEqual((result.stdout.strip(), result.stderr), (expected, ""), words)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)

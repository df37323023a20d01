"""Help, manual page and completion of each program name the same things.

Usage: manuals_test.py PROJECT_FOLDER BRENHOLT TAVRIN_PANEL
"""

import pathlib
import re
import subprocess
import sys
import unittest

PROJECT, BRENHOLT, TAVRIN_PANEL = map(pathlib.Path, sys.argv[1:4])
del sys.argv[1:]


def options(page):
    """Every spelling of every option that a page of help shows."""
    return {name for names in re.findall(r"^  (-[\w,-]+)", page, re.M) for name in names.split(",")}


class Manuals(unittest.TestCase):
    def help_pages(self, program):
        """The pages of help by the subcommand's name; the program's own is at ''."""
        def page(*words):
            return subprocess.run([program, *words, "--help"], capture_output=True, text=True, check=True,
                                  timeout=60).stdout
        top = page()
        names = re.findall(r"^  ([a-z][a-z-]*) ", top.partition("Subcommands:")[2].partition("\n\n")[0], re.M)
        return {"": top, **{name: page(name) for name in names}}

    def complete(self, program, *words):
        file, = PROJECT.glob(f"tools/*/{program.name}.bash-completion")
        script = (f"source '{file}'; compopt() {{ :; }}; COMP_WORDS=(\"$@\"); COMP_CWORD=$(($#-1));"
                  f"_{program.name.replace('-', '_')}; echo \"${{COMPREPLY[@]}}\"")
        result = subprocess.run(["bash", "-c", script, "bash", program.name, *words], capture_output=True,
                                text=True, timeout=20, cwd=PROJECT)
        self.assertEqual(result.stderr, "", words)
        return result.stdout.split()

    def test_help_manual_and_completion_agree(self):
        for program in (BRENHOLT, TAVRIN_PANEL):
            pages = self.help_pages(program)
            manual = (PROJECT / f"docs/man/{program.name}.1").read_text().replace("\\-", "-")
            headings = re.findall(r"^\.TP\n\.BR? (.*)", manual, re.M)
            self.assertEqual(set(re.findall(r"(?<![\w-])--?[a-z][a-z-]*", "\n".join(headings))),
                             {name for page in pages.values() for name in options(page)})
            self.assertLessEqual({*pages} - {""}, {*headings})
            for name, page in pages.items():
                self.assertRegex(page, rf"Examples?:\n  {program.name} .*{name}")
                words = [name] if name else []
                self.assertEqual({*self.complete(program, *words, "-")}, options(page) | options(pages[""]), name)
            if len(pages) > 1:
                self.assertEqual({*self.complete(program, "")}, {*pages} - {""})

    def test_values_complete(self):
        for words, expected in ((["d"], "discover"), (["-p", "1.2.3.4", "comm"], "command"),
                                (["command", "R"], "RM"), (["get", "--rec"], "--recursive"), (["list", "--rec"], ""),
                                (["--timeout", ""], ""), (["--module", "CMakeP"], "CMakePresets.json")):
            self.assertEqual(self.complete(BRENHOLT, *words), expected.split(), words)
        for words, expected in ((["--pc"], "--pcap"), (["--fault", "-"], ""),
                                (["--script", "CMakeP"], "CMakePresets.json")):
            self.assertEqual(self.complete(TAVRIN_PANEL, *words), expected.split(), words)


if __name__ == "__main__":
    unittest.main(verbosity=2)

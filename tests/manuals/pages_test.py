"""The pages name nothing that is not there: files, code, tests, packages, commands and their options.

Usage: pages_test.py PROJECT_FOLDER BUILD_FOLDER
"""

import pathlib
import re
import subprocess
import sys
import unittest

PROJECT, BUILD = map(pathlib.Path, sys.argv[1:3])
del sys.argv[1:]
PAGES = {page: page.read_text() for page in [*PROJECT.glob("*.md"), *PROJECT.glob("docs/*.md")]}
ROOMS = [path for path in PROJECT.iterdir() if path.is_dir() and path.name != "build" and path.name[0] != "."]
TREE = "\n".join(path.read_text(errors="ignore") for room in ROOMS if room.name != "docs"
                 for path in room.rglob("*") if path.is_file()) + (PROJECT / "CMakePresets.json").read_text()


def output(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True, timeout=60).stdout


def commands(text):
    """The commands that a page shows or names, each a list of words."""
    prose = re.sub(r"^```.*?^```", "", text, flags=re.M | re.S)
    for line in re.findall(r"^\$ (.*)", text, re.M) + re.findall(r"`([^`\n]+)`", prose):
        for command in re.split(r"&&|;|\|", line.partition("#")[0]):
            if command.strip():
                yield command.split()


class Pages(unittest.TestCase):
    def test_files(self):
        for page, text in PAGES.items():
            for link in re.findall(r"\]\(([^)#]+)\)", text):
                self.assertTrue(link.startswith("http") or (page.parent / link).exists(), link)
            rooms = "|".join(room.name for room in ROOMS)
            for path in re.findall(rf"(?<![\w/.<-])((?:{rooms})/[\w./*-]*[\w*/])", text):
                self.assertTrue(any(PROJECT.glob(path.rstrip("/"))), path)
            for path in re.findall(r"(?<!\./)build/release/([\w./-]+)", text):
                self.assertTrue((BUILD / path).exists(), path)

    def test_code(self):
        for text in PAGES.values():
            for name in re.findall(r"`([A-Za-z_][\w:.+-]{2,}?)(?:\.\*)?`", text):
                self.assertTrue((PROJECT / name).exists() or all(part in TREE for part in name.split("::")), name)

    def test_slots(self):
        header = (PROJECT / "include/brenholt/brenholt.h").read_text()
        slots = re.findall(r"\(\*(\w+)\)\(", header.partition("typedef struct BrenholtTable {")[2])
        named = re.findall(r"^\| ([\d, ]+) \| ([`\w, ]+) \|", (PROJECT / "docs/host-guide.md").read_text(), re.M)
        self.assertEqual([int(number) for numbers, _ in named for number in numbers.split(",")], list(range(24)))
        self.assertEqual([name for _, names in named for name in re.findall(r"\w+", names)], slots)

    def test_commands(self):
        programs = {path.name: output(path, "--help") for path in (BUILD / "brenholt", BUILD / "tavrin-panel")}
        subcommands = re.findall(r"^  ([a-z][a-z-]*) ", programs["brenholt"].partition("Subcommands:")[2], re.M)
        programs["brenholt"] += "".join(output(BUILD / "brenholt", name, "--help") for name in subcommands)
        known = {name: set(re.findall(r"(?<![\w-])--?[a-z][a-z-]*", text)) for name, text in programs.items()}
        for text in PAGES.values():
            for words in commands(text):
                options = {word for word in words if re.fullmatch(r"--?[a-z][a-z-]*", word)}
                if words[0] in known:
                    self.assertLessEqual(options, known[words[0]], words)
                elif words[0].startswith("scripts/"):
                    self.assertLessEqual(options, set(re.findall(r"--[a-z]+", (PROJECT / words[0]).read_text())), words)
                elif words[0] == "ctest" and "-R" in words:
                    self.assertTrue(words[words.index("-R") + 1] in TREE, words)

    def test_packages(self):
        asked = re.findall(r"^\w+_packages=\((.*?)\)", (PROJECT / "scripts/common.sh").read_text(), re.M | re.S)
        rows = re.findall(r"^\| (`.*?) \|", (PROJECT / "docs/dependencies.md").read_text(), re.M)
        named = re.findall(r"`([^`]+)`", " ".join(rows))
        self.assertEqual(sorted(named), sorted(" ".join(asked).split()))


if __name__ == "__main__":
    unittest.main(verbosity=2)

"""The installed tree in the hands of an outside project, and the Debian packages unpacked elsewhere.

Usage: install_test.py BUILD_FOLDER PROJECT_FOLDER VERSION
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

import programs

BUILD, PROJECT = map(pathlib.Path, sys.argv[1:3])
VERSION = sys.argv[3]
del sys.argv[1:]

CONSUMER = {
    "CMakeLists.txt": """
        cmake_minimum_required(VERSION 3.25)
        project(outside LANGUAGES C CXX)
        find_package(brenholt 1 REQUIRED)
        add_executable(c_host minimal_host.c)
        add_executable(cxx_host host.cpp)
        target_link_libraries(c_host PRIVATE brenholt::brenholt)
        target_link_libraries(cxx_host PRIVATE brenholt::brenholt)
        target_compile_definitions(cxx_host PRIVATE MODULE="${brenholt_MODULE}")
        """,
    "host.cpp": """
        #include <brenholt/brenholt.h>
        #include <dlfcn.h>
        #include <cstdio>
        int main() {
            std::printf("%d.%d.%d %s\\n", BRENHOLT_VERSION_MAJOR, BRENHOLT_VERSION_MINOR,
                        BRENHOLT_VERSION_PATCH, BRENHOLT_VERSION);
            void* module = dlopen(MODULE, RTLD_NOW);
            auto* table = module ? static_cast<const BrenholtTable*>(dlsym(module, BRENHOLT_TABLE_SYMBOL))
                                 : nullptr;
            return table && table->IsBusy() == 0 ? 0 : 1;
        }
        """,
}


def run(*command, **options):
    result = subprocess.run([str(word) for word in command], capture_output=True, text=True, timeout=240,
                            **options)
    assert result.returncode == 0, f"{command}: {result.stdout}{result.stderr}"
    return result.stdout


def pkg_config(prefix, *arguments):
    folder = next(prefix.rglob("pkgconfig"))
    return run("pkg-config", *arguments, "brenholt", env={**os.environ, "PKG_CONFIG_PATH": folder}).split()


class Scratch(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.root = pathlib.Path(tempfile.mkdtemp())
        cls.addClassCleanup(shutil.rmtree, cls.root)


class Installed(Scratch):
    def test_outside_project(self):
        prefix, source = self.root / "prefix", self.root / "source"
        run("cmake", "--install", BUILD, "--prefix", prefix)
        source.mkdir()
        shutil.copy(PROJECT / "examples/minimal_host.c", source)
        for name, text in CONSUMER.items():
            (source / name).write_text(text)

        run("cmake", "-S", source, "-B", self.root / "build", "-G", "Ninja", f"-DCMAKE_PREFIX_PATH={prefix}")
        run("cmake", "--build", self.root / "build")
        self.assertEqual(run(self.root / "build/cxx_host").split(), [VERSION, VERSION])

        flags = pkg_config(prefix, "--cflags", "--libs")
        module, = pkg_config(prefix, "--variable=module")
        self.assertEqual(pkg_config(prefix, "--modversion"), [VERSION])
        run("cc", "-std=c11", source / "minimal_host.c", *flags, "-o", self.root / "c_host")
        run("c++", "-std=c++20", source / "host.cpp", f'-DMODULE="{module}"', *flags, "-o", self.root / "cxx_host")
        run(self.root / "cxx_host")

        with programs.panels(prefix / "bin/tavrin-panel", "--quiet", "--panel", f"127.0.0.2={source}"):
            for host in (self.root / "build/c_host", self.root / "c_host"):
                self.assertIn("minimal_host.c", run(host, module, "127.0.0.2"))


class Packages(Scratch):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        # As on a machine without a locale: Python would give its children one.
        made = run("env", "-i", "PATH=/usr/bin:/bin", PROJECT / "scripts/packages", "--built", BUILD)
        cls.unpacked = cls.root / "unpacked"
        cls.files = {}
        for path in map(pathlib.Path, made.split()):
            cls.files[run("dpkg-deb", "-f", path, "Package").strip()] = path
            run("dpkg-deb", "-x", path, cls.unpacked)
        run("dpkg-deb", "-x", cls.files["brenholt"], cls.root / "alone")

    def field(self, package, name):
        return run("dpkg-deb", "-f", self.files[package], name).strip()

    def test_control_and_contents(self):
        self.assertEqual(set(self.files), {"brenholt", "brenholt-dev", "brenholt-tools"})
        for package in self.files:
            self.assertEqual(self.field(package, "Version"), VERSION)
        for needed in ("libc6", "libstdc++6", "libicu72"):
            self.assertIn(needed, self.field("brenholt", "Depends"))
        self.assertNotRegex(self.field("brenholt", "Depends"), "qt|xcb")
        self.assertIn("libqt6widgets6", self.field("brenholt", "Recommends"))
        self.assertEqual(self.field("brenholt-dev", "Depends"), f"brenholt (= {VERSION})")
        self.assertRegex(self.field("brenholt-tools", "Depends"), rf"^brenholt \(= {VERSION}\), .*libicu72")

        library = "usr/lib/" + run("dpkg-architecture", "-qDEB_HOST_MULTIARCH").strip()
        for name in (f"{library}/brenholt/brenholt.so", f"{library}/brenholt/brenholt-window-qt.so",
                     f"{library}/pkgconfig/brenholt.pc", f"{library}/cmake/brenholt/brenholt-config.cmake",
                     f"{library}/wireshark/plugins/brenholt.lua", "usr/include/brenholt/brenholt.h",
                     *(path for name in ("brenholt", "tavrin-panel") for path in
                       (f"usr/bin/{name}", f"usr/share/man/man1/{name}.1.gz",
                        f"usr/share/bash-completion/completions/{name}")),
                     "usr/share/doc/brenholt/README.md", "usr/share/doc/brenholt/docs/host-guide.md",
                     "usr/share/doc/brenholt/examples/minimal_host.py"):
            self.assertTrue((self.unpacked / name).is_file(), name)
        if shutil.which("tshark"):
            self.assertIn(f"/{library}/wireshark/plugins\n", run("tshark", "-G", "folders"))

    def test_debian_finds_no_fault(self):
        # What a copyright file says is the owner's to choose.
        run("lintian", "--allow-root", "--fail-on", "error,warning", "--suppress-tags", "no-copyright-file",
            *self.files.values())

    def test_links_lead_somewhere_without_the_other_packages(self):
        pages = [*(self.root / "alone").rglob("*.md")]
        self.assertGreater(len(pages), 5)
        for page in pages:
            for link in re.findall(r"\]\(([^)#]+)\)", page.read_text()):
                self.assertTrue(link.startswith("http") or (page.parent / link).exists(), (page.name, link))

    def test_demo_from_the_unpacked_packages(self):
        self.assertIn("every byte compared equal",
                      run(PROJECT / "scripts/demo", "--built", self.unpacked / "usr/bin"))
        module, = pkg_config(self.unpacked, "--variable=module")
        self.assertTrue(os.path.samefile(module, next(self.unpacked.rglob("brenholt.so"))))
        missing = run("ldd", next(self.unpacked.rglob("brenholt-window-qt.so")))
        self.assertNotIn("not found", missing)


if __name__ == "__main__":
    unittest.main()

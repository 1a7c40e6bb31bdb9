#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Installs a release build, moves what was installed, and uses it as its users do.

usage: tests/package/install_test.py BUILD_FOLDER [UNITTEST-OPTION...]

CC and CXX name other compilers for the users' programs than cc and c++.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
from installed_tree import (NONSENSE_OUTPUT, TREE, documents, files_below, listed, run, run_bare)

HERE = pathlib.Path(__file__).resolve().parent
BUILD = pathlib.Path(sys.argv.pop(1)).resolve() if len(sys.argv) > 1 else sys.exit(__doc__)
CC = os.environ.get("CC", "cc")
CXX = os.environ.get("CXX", "c++")
WARNINGS = ("-Wall", "-Wextra", "-Wpedantic", "-Werror")

# What the users' program prints: the stand-in for the probe's library answers the last call.
CONSUMER_OUTPUT = ("util:    7|    1A2B\n"
                   "sys: 0x3000\n"
                   "settings: 19021\n"
                   "probe: 0xEE4AA131B9DBD4CC\n")


class InstalledTreeTest(unittest.TestCase):
    """All tests share one tree. It was installed elsewhere and moved."""

    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.first_place = pathlib.Path(folder.name, "first place")
        cls.prefix = pathlib.Path(folder.name, "second place", "tarven")
        run("cmake", "--install", BUILD, "--prefix", cls.first_place)
        cls.prefix.parent.mkdir()
        cls.first_place.rename(cls.prefix)

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    # ---- The tree ----

    def test_holds_the_listed_files_and_no_others(self):
        expected = listed(HERE / "installed_files.txt") + documents()
        self.assertEqual(files_below(self.prefix), sorted(expected))

    def test_holds_every_public_header(self):
        declaring = [path.relative_to(TREE).as_posix()
                     for name in ("probe", "settings", "sys", "util")
                     for path in (TREE / name).glob("*.h") if 'extern "C"' in path.read_text()]
        installed = set(files_below(self.prefix / "include" / "tarven"))
        self.assertEqual(installed - set(declaring), {"sys/sys.h", "util/util.h"})
        self.assertEqual(set(declaring) - installed, set())

    def test_names_no_folder_of_the_building_machine(self):
        places = [str(place).encode() for place in (TREE, BUILD, self.first_place, self.prefix)]
        for name in files_below(self.prefix):
            content = (self.prefix / name).read_bytes()
            for place in places:
                self.assertNotIn(place, content, name)

    def test_what_finds_the_libraries_names_no_folder_of_the_system(self):
        for name in files_below(self.prefix / "lib"):
            if name.endswith((".cmake", ".pc")):
                self.assertNotIn("/usr/", (self.prefix / "lib" / name).read_text(), name)

    def test_programs_and_module_have_no_search_path_of_their_own(self):
        for name in ("bin/vqxclient", "bin/vqx-terminal-server", "lib/tarven/libtarvenprobe.so"):
            dynamic = run("readelf", "--dynamic", self.prefix / name)
            self.assertIn("(NEEDED)", dynamic)
            self.assertNotRegex(dynamic, r"\((RPATH|RUNPATH)\)")

    # ---- The programs ----

    def test_client_runs(self):
        self.assertEqual(run_bare(self.prefix / "bin/vqxclient", "nonsense"), NONSENSE_OUTPUT)

    def test_wrapper_finds_the_client_beside_itself(self):
        self.assertEqual(run_bare(self.prefix / "bin/vqx", "nonsense"), NONSENSE_OUTPUT)

    def test_client_shows_the_demo_target(self):
        server = subprocess.Popen([self.prefix / "bin/vqx-terminal-server", "--port", "0"],
                                  stdout=subprocess.PIPE, text=True)
        self.addCleanup(server.communicate)
        self.addCleanup(server.kill)
        port = re.fullmatch(r"Listening on 127\.0\.0\.1:(\d+)\n", server.stdout.readline())[1]
        client = subprocess.Popen([self.prefix / "bin/vqxclient", "-VQXTelnetPort", port],
                                  stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.addCleanup(client.communicate)
        self.addCleanup(client.kill)
        shown = b""
        while b"M-Bolt demo target, terminal channel 0" not in shown:
            piece = client.stdout.read1(4096)
            self.assertNotEqual(piece, b"", shown)
            shown += piece

    # ---- The libraries ----

    def run_consumer(self, program):
        """The output of a program that calls all layers, with the probe's library beside it."""
        shutil.copy(BUILD / "probe_libraries/probe_library/libmboltarm.dylib", program.parent)
        home = self.folder / "home"
        home.mkdir()
        return run(program, env={"HOME": str(home), "PATH": "/usr/bin:/bin"})

    def build_project(self, name, *options):
        """Configures and builds a project of this folder; returns the path of its program."""
        run("cmake", "-S", HERE / name, "-B", self.folder / "build", "-G", "Ninja", *options,
            env=dict(os.environ, CC=CC, CXX=CXX))
        run("cmake", "--build", self.folder / "build", "--target", "consumer")
        return self.folder / "build" / "consumer"

    def pkg_config(self, *arguments):
        environment = dict(os.environ, PKG_CONFIG_PATH=str(self.prefix / "lib/pkgconfig"))
        return run("pkg-config", *arguments, env=environment).strip()

    def flags(self, *names):
        """What a compiler gets to use the libraries, as a shell would take it apart."""
        return [flag.replace("\\ ", " ")
                for flag in re.split(r"(?<!\\) +", self.pkg_config("--cflags", "--libs", *names))]

    def test_project_in_c_finds_the_package(self):
        program = self.build_project("c", f"-DCMAKE_PREFIX_PATH={self.prefix}")
        self.assertEqual(self.run_consumer(program), CONSUMER_OUTPUT)

    def test_program_in_c_is_linked_as_such_in_a_project_with_cpp_too(self):
        program = self.build_project("c", f"-DCMAKE_PREFIX_PATH={self.prefix}", "-DWITH_CPP=ON")
        rules = (self.folder / "build" / "build.ninja").read_text()
        self.assertEqual(re.findall(r"build consumer: (\w+?)_EXECUTABLE_LINKER", rules), ["C"])
        needs = re.findall(r"\(NEEDED\).*\[(.*)\]", run("readelf", "--dynamic", program))
        self.assertEqual(sorted(needs), ["libc.so.6", "libedit.so.2"])

    def test_project_in_cpp_finds_the_package(self):
        program = self.build_project("cpp", f"-DCMAKE_PREFIX_PATH={self.prefix}")
        self.assertEqual(self.run_consumer(program), CONSUMER_OUTPUT)

    def test_project_above_has_the_libraries_as_a_folder(self):
        program = self.build_project("subproject", f"-DTARVEN_SOURCE={TREE}")
        self.assertEqual(self.run_consumer(program), CONSUMER_OUTPUT)
        built = set(files_below(self.folder / "build"))
        self.assertLessEqual({f"tarven/lib/libtarven_{name}.a" for name in ("base", "settings", "probe")},
                             built)
        self.assertFalse([name for name in built if "vqx" in name])
        run("cmake", "--install", self.folder / "build", "--prefix", self.folder / "installed")
        self.assertEqual(files_below(self.folder / "installed"), [])

    def test_cmake_refuses_other_minor_versions_and_unknown_components(self):
        (self.folder / "CMakeLists.txt").write_text(
            "cmake_minimum_required(VERSION 3.25)\n"
            "project(asks LANGUAGES C)\n"
            "foreach(version 0.0 0.1 0.1.0 0.1.1 0.2 1.0)\n"
            "  find_package(tarven ${version} QUIET CONFIG)\n"
            '  message("asked for ${version}: ${tarven_FOUND}")\n'
            "endforeach()\n"
            "find_package(tarven QUIET CONFIG COMPONENTS base nonsense)\n"
            'message("asked for nonsense: ${tarven_FOUND}")\n', encoding="utf-8")
        answers = run("cmake", "-S", self.folder, "-B", self.folder / "build",
                      f"-DCMAKE_PREFIX_PATH={self.prefix}", env=dict(os.environ, CC=CC))
        self.assertEqual(re.findall("asked for (.*): (.*)", answers),
                         [("0.0", "0"), ("0.1", "1"), ("0.1.0", "1"), ("0.1.1", "0"), ("0.2", "0"),
                          ("1.0", "0"), ("nonsense", "0")])

    def test_pkg_config_knows_the_version(self):
        for name in ("base", "settings", "probe"):
            self.assertEqual(self.pkg_config("--modversion", f"tarven-{name}"), "0.1.0")

    def test_program_in_c_builds_with_pkg_config(self):
        program = self.folder / "consumer"
        run(CC, "-std=c11", *WARNINGS, HERE / "c/main.c", "-o", program,
            *self.flags("tarven-settings", "tarven-base", "tarven-probe"))
        self.assertEqual(self.run_consumer(program), CONSUMER_OUTPUT)

    def test_program_in_cpp_builds_with_pkg_config(self):
        program = self.folder / "consumer"
        run(CXX, "-std=c++20", *WARNINGS, HERE / "cpp/main.cpp", "-o", program,
            *self.flags("tarven-settings", "tarven-base", "tarven-probe"))
        self.assertEqual(self.run_consumer(program), CONSUMER_OUTPUT)

    def test_probe_library_needs_no_other(self):
        source = self.folder / "asks.c"
        source.write_text("#include <tarven/probe/probelib.h>\n"
                          "int main(void) { return PROBELIB_Open() != 0; }\n", encoding="utf-8")
        run(CC, "-std=c11", *WARNINGS, source, "-o", self.folder / "asks", *self.flags("tarven-probe"))
        self.assertEqual(self.run_consumer(self.folder / "asks"), "")

    def test_examples_build_from_where_they_are_installed(self):
        examples = {"call_probe": ("tarven-probe", "tarven-base"), "connect": ("tarven-base",),
                    "format_values": ("tarven-base",), "serial_monitor": ("tarven-base",),
                    "settings": ("tarven-settings",)}
        folder = self.prefix / "share/doc/vqxclient/examples"
        self.assertEqual(files_below(folder), [f"{name}.c" for name in examples])
        for name, libraries in examples.items():
            run(CC, "-std=c11", *WARNINGS, folder / f"{name}.c", "-o", self.folder / name,
                *self.flags(*libraries))


if __name__ == "__main__":
    unittest.main()

#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Tests of check_names.py, on small trees of their own."""

import contextlib
import importlib.util
import io
import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).with_name("check_names.py")
sys.dont_write_bytecode = True
module_form = importlib.util.spec_from_file_location("check_names", SCRIPT)
check_names = importlib.util.module_from_spec(module_form)
module_form.loader.exec_module(check_names)

FILES = {
    "CMakePresets.json": '{"configurePresets": [{"name": "dev"}]}',
    "docs/architecture.md": "`sys/clock.h`\n",
    "docs/guide.md": "# Guide\n\n## What it is for\n",
    "scripts/run.sh": "#!/bin/sh\n",
    "sys/clock.h": 'extern "C"\nuint32_t SYS_GetTickCount(void);\nint32_t SYS_FILE_Open(void);\n',
    "client/session.cpp": "bool Session::Relay() { return kLimit > _Port; }\n",
}


class CheckNamesTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.root = pathlib.Path(self.folder.name)
        for name, text in FILES.items():
            self.write(name, text)

    def write(self, name, text):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")

    def check(self, text="", document="README.md"):
        """What the check prints of a document with this text."""
        self.write(document, text)
        output = io.StringIO()
        with contextlib.redirect_stdout(output):
            status = check_names.main([str(self.root)])
        lines = output.getvalue().splitlines()
        self.assertEqual(status, 0 if lines == ["3 documents checked: what they name is there."] else 1)
        return lines if status else []

    def test_takes_what_is_there(self):
        self.assertEqual(self.check(
            "[guide](docs/guide.md#what-it-is-for) [mail](mailto:a@b.example) [part](#there)\n"
            "`sys/clock.h` `sys/` `clock.h` `sys/*.h` `SYS_GetTickCount()` `SYS_FILE_` `Session::Relay`\n"
            "`_Port` `kLimit` `scripts/run.sh -x` `build/dev/bin/x` `tests/FOLDER/NAME_test.cpp` `--x_y`\n"
            "```sh\nscripts/run.sh --preset dev\n```\n# There\n"), [])

    def test_finds_links_to_files_that_are_missing(self):
        self.assertEqual(self.check("\n[x](docs/other.md)\n"),
                         ["README.md:2: docs/other.md: there is no such file"])

    def test_finds_links_to_headings_that_are_missing(self):
        self.assertEqual(self.check("[x](docs/guide.md#why)\n"),
                         ["README.md:1: docs/guide.md#why: there is no such heading"])

    def test_finds_paths_that_are_missing(self):
        self.assertEqual(self.check("`sys/time.cpp`\n`docs/*.png`\n`other.h`\n"),
                         ["README.md:1: sys/time.cpp: there is no such file",
                          "README.md:2: docs/*.png: there is no such file",
                          "README.md:3: other.h: no file has this name"])

    def test_reads_on_behind_code_and_links_of_two_lines(self):
        self.assertEqual(self.check("`a b\nc` and `SYS_FIL_`, [two\nlines](docs/other.md)\n"),
                         ["README.md:2: docs/other.md: there is no such file",
                          "README.md:2: SYS_FIL_: no public header declares it"])

    def test_looks_for_links_and_paths_beside_the_document(self):
        self.assertEqual(self.check("[x](architecture.md) `../sys/clock.h`\n", "docs/page.md"), [])

    def test_finds_names_that_no_header_declares(self):
        self.assertEqual(self.check("`SYS_GetTick`\n`SYS_FIL_`\n`UTIL_strlen()`\n"),
                         ["README.md:1: SYS_GetTick: no public header declares it",
                          "README.md:2: SYS_FIL_: no public header declares it",
                          "README.md:3: UTIL_strlen(): no public header declares it"])

    def test_finds_names_that_no_source_has(self):
        self.assertEqual(self.check("`Session::Replay`\n`kLimits`\n"),
                         ["README.md:1: Session::Replay: no source has the word Replay",
                          "README.md:2: kLimits: no source has the word kLimits"])

    def test_finds_scripts_and_presets_in_blocks_of_code(self):
        self.assertEqual(self.check("```sh\nscripts/walk.sh\ncmake --preset deb\n```\n"),
                         ["README.md:2: scripts/walk.sh: there is no such script",
                          "README.md:3: deb: there is no such preset"])

    def test_lets_a_changelog_name_what_is_gone(self):
        self.assertEqual(self.check("`SYS_GetTickCounts`\n", "CHANGELOG.md"), [])

    def test_asks_the_overview_for_every_public_header(self):
        self.write("sys/files.h", 'extern "C"\n')
        self.assertEqual(self.check(), ["docs/architecture.md:1: sys/files.h is not in it"])

    def test_sees_that_a_picture_is_older_than_its_source(self):
        self.write("docs/layers.dot", "digraph layers { client -> sys }\n")
        old = ["docs/layers.svg:1: older than docs/layers.dot; run scripts/docs.sh"]
        self.assertEqual(self.check(), old)
        sums = subprocess.run(["cksum"], input=b"digraph layers { client -> sys }\n", check=True,
                              capture_output=True).stdout.decode().strip()
        self.write("docs/layers.svg", f"<!-- drawn from layers.dot, {sums} -->\n<svg/>\n")
        self.assertEqual(self.check(), [])
        self.write("docs/layers.dot", "digraph layers { client -> util }\n")
        self.assertEqual(self.check(), old)

    def test_fails_where_there_is_nothing_to_check(self):
        (self.root / "sys" / "clock.h").unlink()
        self.write("docs/architecture.md", "")
        self.assertEqual(self.check(), [f"{self.root}: no documents or no headers to check"])


if __name__ == "__main__":
    unittest.main()

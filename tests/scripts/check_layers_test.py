"""Tests of scripts/check_layers.py on small trees of their own."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).parents[2] / "scripts" / "check_layers.py"


class CheckLayers(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        for header in ("util/format.h", "util/dynbuffer.h", "sys/clock.h", "sys/platform/platform.h",
                       "settings/xml.h", "client/client.h", "probe/probelib.h"):
            self.write(header, "")

    def write(self, path, text):
        (self.root / path).parent.mkdir(parents=True, exist_ok=True)
        (self.root / path).write_text(text, encoding="utf-8")

    def run_check(self):
        result = subprocess.run([sys.executable, SCRIPT, self.root], capture_output=True, text=True,
                                check=False)
        return result.returncode, result.stdout

    def assert_accepted(self, path, line):
        self.write(path, line + "\n")
        self.assertEqual(self.run_check()[0], 0, self.run_check()[1])

    def assert_refused(self, path, line, rule):
        self.write(path, "// first line\n" + line + "\n")
        status, output = self.run_check()
        self.assertEqual(status, 1)
        self.assertIn(f"{path}:2: {rule}", output)

    def test_a_clean_tree_passes_with_a_summary(self):
        self.assertEqual(self.run_check(), (0, "7 files checked, 0 broken rules.\n"))

    def test_arrows_in_the_right_direction_are_accepted(self):
        for path, header in (("sys/clock.cpp", "util/format.h"),
                             ("sys/clock.cpp", "sys/platform/platform.h"),
                             ("util/dynbuffer.cpp", "sys/clock.h"),
                             ("settings/xml.cpp", "util/dynbuffer.h"),
                             ("client/main.cpp", "sys/clock.h"),
                             ("probe/probelib.cpp", "sys/platform/platform.h"),
                             ("tools/server/main.cpp", "sys/clock.h"),
                             ("tests/client/a_test.cpp", "client/client.h")):
            with self.subTest(path=path, header=header):
                self.assert_accepted(path, f'#include "{header}"')

    def test_arrows_against_the_direction_are_refused(self):
        for path, header, unit in (("util/format.cpp", "sys/clock.h", "util"),
                                   ("util/format.cpp", "util/dynbuffer.h", "util"),
                                   ("sys/clock.cpp", "client/client.h", "sys"),
                                   ("sys/clock.cpp", "util/dynbuffer.h", "sys"),
                                   ("sys/platform/linux.cpp", "sys/clock.h", "sys/platform"),
                                   ("client/main.cpp", "settings/xml.h", "client"),
                                   ("client/main.cpp", "sys/platform/platform.h", "client"),
                                   ("probe/probelib.cpp", "sys/clock.h", "probe"),
                                   ("settings/xml.cpp", "probe/probelib.h", "settings")):
            with self.subTest(path=path, header=header):
                self.assert_refused(path, f'#include "{header}"', f'{unit} may not include "{header}"')
                (self.root / path).unlink()

    def test_headers_include_their_neighbours_without_a_folder(self):
        self.assert_accepted("util/util.h", '#include "format.h"')

    def test_missing_headers_are_refused(self):
        self.assert_refused("util/util.h", '#include "nowhere.h"', 'there is no "nowhere.h" beside')
        self.assert_refused("util/a.cpp", '#include "util/nowhere.h"',
                            'there is no "util/nowhere.h" in the tree')

    def test_the_operating_system_is_for_sys_and_probe(self):
        self.assert_accepted("sys/clock.cpp", "#include <unistd.h>")
        self.assert_accepted("probe/probelib.cpp", "#include <dlfcn.h>")
        self.assert_refused("util/format.cpp", "#include <unistd.h>", "util may not include <unistd.h>")
        self.assert_refused("client/main.cpp", "#include <sys/ioctl.h>",
                            "client may not include <sys/ioctl.h>")

    def test_the_clients_terminal_source_is_the_exception(self):
        self.assert_accepted("client/terminal_mode.cpp", "#include <termios.h>")

    def test_one_systems_headers_are_for_the_platform_folder(self):
        self.assert_accepted("sys/platform/darwin.cpp", "#include <mach/mach_time.h>")
        self.assert_refused("sys/clock.cpp", "#include <mach/mach_time.h>",
                            "only sys/platform may include <mach/mach_time.h>")

    def test_the_cpp_run_time_library_is_not_for_the_product(self):
        self.assert_accepted("util/format.cpp", "#include <string_view>")
        self.assert_accepted("tools/server/main.cpp", "#include <string>")
        self.assert_refused("util/format.cpp", "#include <string>",
                            "the product may not include <string>")

    def test_questions_for_the_system_are_for_the_platform_folder(self):
        self.assert_accepted("tests/sys/a_test.cpp", "#ifdef __APPLE__")
        self.assert_accepted("sys/platform/darwin.cpp", "#if defined(__APPLE__)")
        self.assert_refused("sys/clock.cpp", "#  if defined(__linux__)", "only sys/platform may ask")

    def test_headers_of_sys_do_not_bear_system_names(self):
        self.write("sys/socket.h", "")
        status, output = self.run_check()
        self.assertEqual(status, 1)
        self.assertIn("sys/socket.h:1: a header in sys may not bear", output)


if __name__ == "__main__":
    unittest.main()

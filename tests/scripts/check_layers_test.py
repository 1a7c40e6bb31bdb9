#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Tests of scripts/check_layers.py, on small trees of their own."""

import contextlib
import importlib.util
import io
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "check_layers.py"
sys.dont_write_bytecode = True
module_form = importlib.util.spec_from_file_location("check_layers", SCRIPT)
check_layers = importlib.util.module_from_spec(module_form)
module_form.loader.exec_module(check_layers)

SPECIFIC = "which is neither standard nor on every system"
ASKS_FOR_THE_SYSTEM = "only sys/platform may ask which system this is"

# One header or more in every unit, empty, for the sources of the tests to include.
HEADERS = ("bench/peers.h", "client/client.h", "examples/example.h", "fuzz/corpus.h",
           "probe/entry_points.def", "probe/mbolt_api.h", "probe/probelib.h", "settings/registry.h",
           "settings/xml.h", "sys/clock.h", "sys/memory.h", "sys/platform/platform.h", "sys/sys.h",
           "tests/support/guarded_buffer.h", "tools/terminal_server/server.h", "util/dynbuffer.h",
           "util/format.h", "util/util.h")


class CheckLayersTest(unittest.TestCase):
    """Every test starts with a tree of empty headers, which breaks no rule."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        for header in HEADERS:
            self.write(header, "")

    def write(self, path, text):
        (self.root / path).parent.mkdir(parents=True, exist_ok=True)
        (self.root / path).write_text(text, encoding="utf-8")

    def check(self):
        """The exit status and the printed lines."""
        output = io.StringIO()
        with contextlib.redirect_stdout(output):
            status = check_layers.main([str(self.root)])
        return status, output.getvalue().splitlines()

    @contextlib.contextmanager
    def source(self, path, lines):
        """Has this source in the tree for a while, in the place of a header if there is one."""
        file = self.root / path
        before = file.read_text(encoding="utf-8") if file.exists() else None
        self.write(path, "\n".join(lines) + "\n")
        with self.subTest(path=path, lines=lines):
            yield
        file.unlink()
        if before is not None:
            self.write(path, before)

    def assert_accepted(self, path, *lines):
        """Expects a tree with this source to break no rule."""
        with self.source(path, lines):
            status, output = self.check()
            self.assertEqual((status, len(output)), (0, 1), output)

    def assert_refused(self, path, rule, *lines):
        """Expects a tree with this source to break one rule, in the source's last line."""
        with self.source(path, lines):
            self.assertEqual(self.check(), (1, [f"{path}:{len(lines)}: {rule}"]))

    # ---- What it prints ----

    def test_prints_one_line_when_all_is_well(self):
        self.assertEqual(self.check(),
                         (0, ["18 sources checked: every folder includes only what it may."]))

    def test_prints_a_line_for_every_broken_rule(self):
        self.write("sys/x.cpp", '\n#include "client/client.h"\n\n#include "settings/xml.h"\n')
        self.write("util/x.cpp", '#include "sys/clock.h"\n')
        self.assertEqual(self.check(), (1, ['sys/x.cpp:2: sys may not include "client/client.h"',
                                            'sys/x.cpp:4: sys may not include "settings/xml.h"',
                                            'util/x.cpp:1: util may not include "sys/clock.h"']))

    def test_refuses_a_tree_without_sources(self):
        for path in self.root.iterdir():
            shutil.rmtree(path)
        self.assertEqual(self.check(), (1, [f"{self.root}: no sources to check"]))

    def test_runs_as_a_program(self):
        self.assertEqual(self.run_program(SCRIPT, self.root),
                         (0, "18 sources checked: every folder includes only what it may.\n"))
        self.write("sys/x.cpp", '#include "client/client.h"\n')
        self.assertEqual(self.run_program(SCRIPT, self.root),
                         (1, 'sys/x.cpp:1: sys may not include "client/client.h"\n'))

    def test_checks_its_own_tree_without_an_argument(self):
        self.write("sys/x.cpp", '#include "client/client.h"\n')
        (self.root / "scripts").mkdir()
        script = shutil.copy(SCRIPT, self.root / "scripts")
        self.assertEqual(self.run_program(script),
                         (1, 'sys/x.cpp:1: sys may not include "client/client.h"\n'))

    @staticmethod
    def run_program(script, *arguments):
        """The exit status and the output of the script as a process, started from elsewhere."""
        result = subprocess.run([sys.executable, script, *arguments], stdout=subprocess.PIPE,
                                text=True, cwd="/", check=False)
        return result.returncode, result.stdout

    # ---- Which folder may include which ----

    def test_text_families_of_util_stand_alone(self):
        self.assert_accepted("util/x.cpp", '#include "util/format.h"')
        for header in ("sys/memory.h", "sys/platform/platform.h", "util/dynbuffer.h", "util/util.h",
                       "settings/xml.h", "client/client.h", "probe/probelib.h"):
            self.assert_refused("util/x.cpp", f'util may not include "{header}"',
                                f'#include "{header}"')

    def test_dynbuffer_stands_on_text_and_memory(self):
        self.assert_accepted("util/dynbuffer.cpp", '#include "util/dynbuffer.h"',
                             '#include "util/format.h"', '#include "sys/memory.h"')
        for header in ("sys/clock.h", "sys/sys.h", "settings/xml.h"):
            self.assert_refused("util/dynbuffer.cpp", f'util/dynbuffer may not include "{header}"',
                                f'#include "{header}"')

    def test_umbrella_of_util_includes_all_of_util(self):
        self.assert_accepted("util/util.h", '#include "format.h"', '#include "dynbuffer.h"')
        self.assert_refused("util/util.h", 'util/util may not include "../sys/memory.h"',
                            '#include "../sys/memory.h"')

    def test_sys_stands_on_text_and_platform(self):
        for header in ("sys/clock.h", "sys/platform/platform.h", "util/format.h"):
            self.assert_accepted("sys/x.cpp", f'#include "{header}"')
        for header in ("util/dynbuffer.h", "util/util.h", "settings/xml.h", "client/client.h",
                       "probe/probelib.h", "tests/support/guarded_buffer.h"):
            self.assert_refused("sys/x.cpp", f'sys may not include "{header}"',
                                f'#include "{header}"')

    def test_platform_stands_alone(self):
        self.assert_accepted("sys/platform/linux.cpp", '#include "sys/platform/platform.h"')
        for header in ("sys/clock.h", "util/format.h"):
            self.assert_refused("sys/platform/linux.cpp",
                                f'sys/platform may not include "{header}"', f'#include "{header}"')

    def test_settings_stand_on_sys_and_util(self):
        for header in ("settings/xml.h", "sys/memory.h", "util/format.h", "util/dynbuffer.h"):
            self.assert_accepted("settings/x.cpp", f'#include "{header}"')
        for header in ("sys/platform/platform.h", "client/client.h", "probe/probelib.h"):
            self.assert_refused("settings/x.cpp", f'settings may not include "{header}"',
                                f'#include "{header}"')

    def test_client_stands_on_sys_and_util(self):
        for header in ("client/client.h", "sys/sys.h", "util/util.h"):
            self.assert_accepted("client/x.cpp", f'#include "{header}"')
        for header in ("sys/platform/platform.h", "settings/registry.h", "probe/probelib.h"):
            self.assert_refused("client/x.cpp", f'client may not include "{header}"',
                                f'#include "{header}"')

    def test_probe_stands_on_platform_alone(self):
        for header in ("probe/probelib.h", "probe/entry_points.def", "sys/platform/platform.h"):
            self.assert_accepted("probe/x.cpp", f'#include "{header}"')
        for header in ("sys/memory.h", "util/format.h", "settings/xml.h"):
            self.assert_refused("probe/x.cpp", f'probe may not include "{header}"',
                                f'#include "{header}"')

    def test_tools_stand_on_sys_and_util(self):
        for header in ("tools/terminal_server/server.h", "sys/clock.h", "util/dynbuffer.h",
                       "probe/entry_points.def"):
            self.assert_accepted("tools/terminal_server/x.cpp", f'#include "{header}"')
        for header in ("client/client.h", "sys/platform/platform.h", "probe/probelib.h"):
            self.assert_refused("tools/terminal_server/x.cpp", f'tools may not include "{header}"',
                                f'#include "{header}"')

    def test_tests_benchmarks_and_fuzzers_include_everything(self):
        for folder in ("tests/util", "bench", "fuzz"):
            self.assert_accepted(f"{folder}/x.cpp", *(f'#include "{header}"' for header in HEADERS))

    def test_examples_include_umbrellas(self):
        for line in ('#include "sys/sys.h"', '#include "util/util.h"', '#include "settings/xml.h"',
                     "#include <tarven/sys/sys.h>"):
            self.assert_accepted("examples/x.c", line)
        for header in ('"sys/clock.h"', '"client/client.h"', "<tarven/util/format.h>"):
            self.assert_refused("examples/x.c", f"examples may not include {header}",
                                f"#include {header}")

    def test_header_beside_a_source_needs_no_folder(self):
        self.assert_accepted("sys/x.cpp", '#include "clock.h"')
        self.assert_refused("util/x.cpp", 'util may not include "dynbuffer.h"',
                            '#include "dynbuffer.h"')

    def test_way_round_by_a_relative_path_is_seen(self):
        self.assert_refused("sys/x.cpp", 'sys may not include "../client/client.h"',
                            '#include "../client/client.h"')

    def test_folder_outside_the_table_is_refused(self):
        self.assert_refused("net/x.cpp", "net has no place in the table of layers", "")

    def test_built_and_hidden_folders_are_not_looked_at(self):
        for folder in ("build/dev", "cmake/darwin", ".cache", "node_modules"):
            self.assert_accepted(f"{folder}/x.cpp", '#include "client/client.h"')

    # ---- System headers ----

    def test_standard_headers_are_for_all(self):
        for path in ("util/x.cpp", "util/dynbuffer.cpp", "sys/x.cpp", "sys/platform/x.cpp",
                     "settings/x.cpp", "client/x.cpp", "probe/x.cpp", "tools/x.cpp"):
            self.assert_accepted(path, "#include <string.h>", "#include <cstdint>",
                                 "#include <string_view>")
        self.assert_accepted("examples/x.c", "#include <stdio.h>")

    def test_operating_system_is_for_sys_and_probe(self):
        for path in ("sys/x.cpp", "sys/platform/x.cpp", "probe/x.cpp", "tests/x.cpp", "fuzz/x.cpp"):
            self.assert_accepted(path, "#include <unistd.h>", "#include <sys/socket.h>")
        for unit, path in (("util", "util/x.cpp"), ("util/dynbuffer", "util/dynbuffer.cpp"),
                           ("settings", "settings/x.cpp"), ("client", "client/x.cpp"),
                           ("tools", "tools/x.cpp"), ("examples", "examples/x.c")):
            for header in ("<unistd.h>", "<sys/socket.h>", "<termios.h>", '"unistd.h"'):
                self.assert_refused(
                    path, f"{unit} may not include {header}, which belongs to the operating system",
                    f"#include {header}")

    def test_terminal_mode_of_the_client_may_ask_the_terminal(self):
        self.assert_accepted("client/terminal_mode.cpp", '#include "client/client.h"',
                             "#include <sys/ioctl.h>", "#include <termios.h>")
        self.assert_refused("client/terminal_mode.cpp", 'client may not include "settings/xml.h"',
                            '#include "settings/xml.h"')

    def test_one_processors_headers_are_for_its_source(self):
        for source in ("byte_search", "byte_swap", "processor"):
            self.assert_accepted(f"util/{source}_x86_64.cpp", "#include <cpuid.h>",
                                 "#include <immintrin.h>", "#include <atomic>")
        self.assert_refused("util/byte_swap_x86_64.cpp",
                            f"util may not include <sys/sysctl.h>, {SPECIFIC}",
                            "#include <sys/sysctl.h>")
        self.assert_accepted("settings/xml_marks_x86_64.cpp", "#include <emmintrin.h>")
        for header in ("cpuid.h", "emmintrin.h", "immintrin.h"):
            for unit in ("util", "sys", "client"):
                self.assert_refused(
                    f"{unit}/x.cpp",
                    f"{unit} may not include <{header}>, which belongs to one kind of processor",
                    f"#include <{header}>")

    def test_one_systems_headers_are_for_platform(self):
        headers = ("mach/mach_time.h", "IOKit/IOKitLib.h", "CoreFoundation/CoreFoundation.h",
                   "linux/serial.h", "sys/sysctl.h", "libproc.h", "asm/termbits.h")
        self.assert_accepted("sys/platform/x.cpp", *(f"#include <{header}>" for header in headers))
        for unit in ("util", "sys", "settings", "client", "probe", "tools"):
            for header in headers:
                self.assert_refused(f"{unit}/x.cpp",
                                    f"{unit} may not include <{header}>, {SPECIFIC}",
                                    f"#include <{header}>")

    def test_libraries_are_for_tests_and_benchmarks(self):
        self.assert_accepted("tests/x.cpp", "#include <gtest/gtest.h>")
        self.assert_accepted("bench/x.cpp", "#include <benchmark/benchmark.h>")
        self.assert_refused("util/x.cpp", f"util may not include <gtest/gtest.h>, {SPECIFIC}",
                            "#include <gtest/gtest.h>")

    def test_header_that_is_nowhere_is_refused(self):
        self.assert_refused("util/x.cpp", f'util may not include "util/gone.h", {SPECIFIC}',
                            '#include "util/gone.h"')

    def test_run_time_library_is_not_for_the_product(self):
        headers = ("string", "iostream", "vector", "memory", "functional", "map", "thread", "mutex")
        for path in ("tools/x.cpp", "tests/x.cpp", "bench/x.cpp", "fuzz/x.cpp"):
            self.assert_accepted(path, *(f"#include <{header}>" for header in headers))
        for unit in ("util", "sys", "sys/platform", "settings", "client", "probe"):
            for header in headers:
                self.assert_refused(
                    f"{unit}/x.cpp",
                    f"{unit} may not include <{header}>, which needs the C++ run-time library",
                    f"#include <{header}>")

    # ---- Other rules ----

    def test_platform_and_tests_alone_ask_for_the_system(self):
        conditions = ("#ifdef __APPLE__", "#ifndef __linux__", "#if defined(__APPLE__)",
                      "#  if X && \\\n defined(__linux__)", "#elif __MACH__")
        for condition in conditions:
            for path in ("sys/platform/x.cpp", "tests/sys/x.cpp"):
                self.assert_accepted(path, condition)
            for path in ("sys/x.cpp", "util/x.cpp", "client/x.cpp", "settings/x.cpp", "probe/x.cpp",
                         "tools/x.cpp", "examples/x.c", "bench/x.cpp", "fuzz/x.cpp"):
                with self.source(path, [condition]):
                    self.assertEqual(self.check(), (1, [f"{path}:1: {ASKS_FOR_THE_SYSTEM}"]))

    def test_other_conditions_are_free(self):
        self.assert_accepted("util/x.cpp", "#ifdef __cplusplus", "#if defined(__x86_64__)")

    def test_headers_of_sys_bear_no_system_names(self):
        for name in ("time.h", "socket.h", "file.h", "types.h", "stat.h", "random.h"):
            self.assert_refused(f"sys/{name}",
                                "a header in sys may not bear a system header's name", "")
        for name in ("clock.h", "sockets.h", "files.h", "threads.h", "memory.h"):
            self.assert_accepted(f"sys/{name}", "")
        self.assert_accepted("util/time.h", "")

    def test_public_headers_include_siblings_without_a_folder(self):
        linkage = 'extern "C" {'
        self.assert_accepted("sys/x.h", linkage, '#include "clock.h"')
        self.assert_accepted("settings/x.h", linkage, '#include "../sys/clock.h"')
        rule = "a public header includes its siblings without a folder, not "
        self.assert_refused("sys/x.h", rule + '"sys/clock.h"', linkage, '#include "sys/clock.h"')
        self.assert_refused("sys/x.h", rule + "<tarven/sys/clock.h>", linkage,
                            "#include <tarven/sys/clock.h>")
        self.assert_refused("sys/sys.h", rule + '"sys/clock.h"', '#include "sys/clock.h"')

    def test_private_headers_include_from_the_root(self):
        self.assert_accepted("sys/x.h", '#include "sys/clock.h"')
        self.assert_accepted("client/x.h", 'extern "C" {', '#include "client/client.h"')

    def test_public_headers_include_what_c_has(self):
        linkage = 'extern "C" {'
        self.assert_accepted("sys/x.h", linkage, "#include <stdint.h>")
        for header in ("<cstdint>", "<sys/types.h>"):
            self.assert_refused(
                "sys/x.h", f"a public header may not include {header}, which C does not have",
                linkage, f"#include {header}")

    # ---- How it reads a source ----

    def test_comments_are_not_read(self):
        self.assert_accepted("util/x.cpp", "/* As in", '#include "client/client.h"',
                             "#ifdef __APPLE__ */", '// #include "client/client.h"',
                             "// continued \\", '#include "client/client.h"')

    def test_comment_signs_inside_text_are_text(self):
        self.assert_refused("util/x.cpp", 'util may not include "sys/clock.h"',
                            'const char* a = "/*";', "const char b = '\"';  // 1'000'000",
                            '#include "sys/clock.h"')

    def test_lines_are_counted_behind_comments(self):
        self.assert_refused("util/x.cpp", 'util may not include "sys/clock.h"', "/* one", "two",
                            "*/", "// four", '  #  include "sys/clock.h"  // six')

    def test_includes_name_their_headers(self):
        self.assert_refused("util/x.cpp", "an include names its header itself", "#include HEADER")


if __name__ == "__main__":
    unittest.main()

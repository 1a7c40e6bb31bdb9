#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Tests of what run.sh, build.sh, test.sh and setup.sh say to somebody who starts here.

usage: first_steps_test.py SERVER [UNITTEST-OPTION...]

Each test has a copy of the scripts in a tree of its own, and a PATH that holds nothing but the tools
it names. SERVER is the built vqx-terminal-server.
"""

import os
import pathlib
import shutil
import socket
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
SERVER = pathlib.Path(sys.argv.pop(1)).resolve()
BASIC_TOOLS = ("cat", "dirname", "env", "grep", "id", "mkdir", "mktemp", "rm", "sed", "sh", "sleep",
               "uname")
NOBODY = 65534
# Any account but the superuser's takes the permissions of folders seriously.
AS_SOMEBODY = {"user": NOBODY, "group": NOBODY, "extra_groups": []} if os.getuid() == 0 else {}


class FirstStepsTest(unittest.TestCase):
    """Every test starts with the scripts, the presets and a PATH of basic tools."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        os.chmod(folder.name, 0o755)
        self.tree = pathlib.Path(folder.name) / "a tree"
        self.tools = pathlib.Path(folder.name) / "tools"
        shutil.copytree(ROOT / "scripts", self.tree / "scripts")
        shutil.copytree(ROOT / "cmake", self.tree / "cmake")
        for name in ("CMakeLists.txt", "CMakePresets.json"):
            shutil.copy(ROOT / name, self.tree)
        self.tools.mkdir()
        for tool in BASIC_TOOLS:
            self.add_real(tool)

    def add_real(self, tool):
        (self.tools / tool).symlink_to(shutil.which(tool))

    def add_script(self, path, text="exit 0"):
        """A shell script, in the PATH unless the path names a folder."""
        path = self.tools / path
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text("#!/bin/sh\n" + text + "\n", encoding="utf-8")
        path.chmod(0o755)

    def add_build_tools(self):
        """What setup.sh asks for on a system that it does not know, doing nothing."""
        for tool in ("c++", "cmake", "ninja"):
            self.add_script(tool)

    def add_programs(self, folder):
        """A client that shows its arguments, and the real server."""
        self.add_script(folder / "bin" / "vqx", 'printf "<%s>" "$@"')
        (folder / "bin" / "vqx-terminal-server").symlink_to(SERVER)

    def run_script(self, script, *arguments, process=None, **variables):
        """The exit status, standard output and standard error."""
        environment = {"PATH": str(self.tools), **variables}
        result = subprocess.run([self.tree / "scripts" / script, *arguments], env=environment,
                                stdin=subprocess.DEVNULL, capture_output=True, text=True,
                                timeout=60, check=False, **(process or {}))
        return result.returncode, result.stdout, result.stderr

    # ---- Help ----

    def test_help_is_the_head_of_the_script_and_nothing_happens(self):
        for script, start, inside in (
                ("run.sh", "Builds the client and starts it in this terminal. Ctrl-] quits.\n",
                 "  scripts/run.sh [--port N] [--echo]\n"),
                ("build.sh", "Configures and builds one preset, quietly unless something fails.\n",
                 "  scripts/build.sh PRESET [CMAKE-OPTION...]   e.g. scripts/build.sh release\n"),
                ("test.sh", "Builds everything with sanitizers and runs all tests.\n",
                 "  scripts/test.sh [CTEST-OPTION...]   e.g. scripts/test.sh -R SysSocket\n"),
                ("picture.sh", "Makes docs/session.svg, the picture of a session:",
                 "  scripts/picture.sh           makes it anew; takes port 19021\n"),
                ("setup.sh", "Installs what is missing on this machine, and nothing that is there "
                 "already.\n", "  scripts/setup.sh test      the same for the tests\n")):
            for option in ("--help", "-h"):
                with self.subTest(script=script, option=option):
                    status, output, error = self.run_script(script, option)
                    self.assertEqual((status, error), (0, ""))
                    self.assertTrue(output.startswith(start), output)
                    self.assertIn(inside, output)
                    self.assertNotIn("#", output)
                    self.assertNotIn("set -eu", output)
        self.assertFalse((self.tree / "build").exists())

    def test_wrong_arguments_end_with_status_two_and_a_line(self):
        for script, arguments, message in (
                ("run.sh", ["--port"],
                 "run.sh: --port takes a number; --help shows the options\n"),
                ("run.sh", ["--echo", "-VQXTelnetPort", "1"],
                 "run.sh: -VQXTelnetPort does not go with the demo server's options; --help shows "
                 "them\n"),
                ("build.sh", [], "build.sh: the first argument is a preset; --help says more\n"),
                ("build.sh", ["-DX=1"],
                 "build.sh: the first argument is a preset; --help says more\n"),
                ("setup.sh", ["everything"],
                 "usage: scripts/setup.sh [run|test|ci|bench|coverage|docs|fuzz|lint|newcomer|package|"
                 "picture|darwin]\n")):
            with self.subTest(script=script, arguments=arguments):
                self.assertEqual(self.run_script(script, *arguments), (2, "", message))

    # ---- The demo ----

    def test_demo_connects_the_client_to_the_servers_port(self):
        self.add_build_tools()
        self.add_programs(self.tree / "build" / "release")
        status, output, error = self.run_script("run.sh")
        self.assertEqual((status, error), (0, ""))
        self.assertRegex(output, r"^<-VQXTelnetPort><[1-9]\d*>$")

    def test_demo_takes_the_given_port_and_lets_the_target_echo(self):
        self.add_build_tools()
        programs = self.tree / "build" / "release"
        self.add_script(programs / "bin" / "vqx", 'printf "<%s>" "$@"')
        self.add_script(programs / "bin" / "vqx-terminal-server",
                        'echo "$@" >&2; echo "Listening on 127.0.0.1:$2"; exec sleep 60')
        self.assertEqual(self.run_script("run.sh", "--echo", "--port", "4711"),
                         (0, "<-VQXTelnetPort><4711><-LocalEcho><Off>", "--port 4711 --echo\n"))

    def test_key_that_quits_the_client_is_no_failure(self):
        self.add_build_tools()
        self.add_programs(self.tree / "build" / "release")
        self.add_script(self.tree / "build" / "release" / "bin" / "vqx",
                        "trap 'exit 0' INT; kill -s INT 0; sleep 5; exit 1")
        status, _, error = self.run_script("run.sh", process={"start_new_session": True})
        self.assertEqual((status, error), (0, ""))

    def test_other_arguments_are_the_clients_and_there_is_no_demo(self):
        self.add_build_tools()
        self.add_programs(self.tree / "build" / "release")
        self.assertEqual(self.run_script("run.sh", "-VQXTelnetPort", "19021", "a b"),
                         (0, "<-VQXTelnetPort><19021><a b>", ""))

    def test_busy_port_is_told_in_a_line(self):
        self.add_build_tools()
        self.add_programs(self.tree / "build" / "release")
        with socket.create_server(("127.0.0.1", 0)) as busy:
            port = busy.getsockname()[1]
            self.assertEqual(
                self.run_script("run.sh", "--port", str(port)),
                (1, "", f"vqx-terminal-server: cannot listen on 127.0.0.1:{port}; is the port in "
                 "use? --port 0 picks a free one\n"))

    def test_folder_for_temporary_files_that_is_missing_is_told_in_a_line(self):
        self.add_build_tools()
        self.add_programs(self.tree / "build" / "release")
        self.assertEqual(self.run_script("run.sh", TMPDIR="/nowhere"),
                         (1, "", "run.sh: cannot make a folder in /nowhere; let TMPDIR name one "
                          "that can be written\n"))

    # ---- Missing tools ----

    def test_missing_cmake_is_told_in_a_line(self):
        self.assertEqual(self.run_script("build.sh", "release"),
                         (1, "", "build.sh: there is no cmake here; scripts/setup.sh installs it\n"))

    def test_missing_ninja_is_told_in_a_line(self):
        self.add_real("cmake")
        self.assertEqual(self.run_script("build.sh", "release"),
                         (1, "", "build.sh: there is no ninja here; scripts/setup.sh installs it\n"))

    def test_missing_compiler_is_told_in_a_line(self):
        self.add_real("cmake")
        self.add_real("ninja")
        self.assertEqual(
            self.run_script("build.sh", "release"),
            (1, "", "build.sh: there is no C or C++ compiler here; scripts/setup.sh installs one, "
             "or let CC and CXX name yours\n"))

    def test_missing_compiler_that_was_asked_for_is_told_in_a_line(self):
        self.add_real("cmake")
        self.add_real("ninja")
        message = ("build.sh: the compiler asked for is not here; install it, or let CC and CXX "
                   "name another (build/release/build.log says more)\n")
        self.assertEqual(self.run_script("build.sh", "release", CC="nonesuch"), (1, "", message))
        shutil.rmtree(self.tree / "build")
        self.assertEqual(self.run_script("build.sh", "release", "-DCMAKE_C_COMPILER=nonesuch"),
                         (1, "", message))

    def test_other_failures_of_the_configuration_are_shown_as_they_are(self):
        self.add_real("cmake")
        status, output, error = self.run_script("build.sh", "nonesuch")
        self.assertEqual((status, output), (1, ""))
        self.assertIn("nonesuch", error)
        self.assertTrue(error.endswith("build.sh: this was CMake's answer; scripts/setup.sh "
                                       "installs what a build takes\n"), error)

    def test_setup_names_what_is_missing_on_a_system_that_it_does_not_know(self):
        self.add_script("cmake")
        status, output, error = self.run_script("run.sh")
        self.assertEqual((status, output), (1, ""))
        self.assertTrue(error.endswith("Not found now: c++ ninja\n"), error)

    def test_setup_names_what_could_not_be_installed(self):
        self.add_script("dpkg-query", 'case $4 in cmake) echo "install ok installed" ;; esac')
        self.add_script("apt-get", 'echo "apt-get $1 fails"; exit 100')
        self.add_script("sudo", 'exec "$@"')
        self.assertEqual(self.run_script("setup.sh"),
                         (1, "Installing: g++ ninja-build libedit-dev\n",
                          "apt-get update fails\nsetup.sh: could not install g++ ninja-build "
                          "libedit-dev; install it by hand, then try again\n"))

    # ---- Folders that cannot be written ----

    def test_file_in_the_place_of_the_build_folder_is_told_in_a_line(self):
        self.add_build_tools()
        (self.tree / "build").write_text("in the way", encoding="utf-8")
        for script, preset, arguments in (("build.sh", "release", ["release"]),
                                          ("run.sh", "release", []), ("test.sh", "dev", [])):
            with self.subTest(script=script):
                self.assertEqual(
                    self.run_script(script, *arguments),
                    (1, "", f"build.sh: cannot write in build/{preset}; make it writable, or let "
                     "BUILD_DIR name another folder\n"))

    def test_tree_that_can_only_be_read_is_told_in_a_line(self):
        self.add_build_tools()
        self.tree.chmod(0o555)
        self.assertEqual(
            self.run_script("run.sh", process=AS_SOMEBODY),
            (1, "", "build.sh: cannot write in build/release; make it writable, or let BUILD_DIR "
             "name another folder\n"))

    def test_build_folder_that_can_only_be_read_is_told_in_a_line(self):
        self.add_build_tools()
        folder = self.tree / "build" / "release"
        folder.mkdir(parents=True)
        folder.chmod(0o555)
        self.assertEqual(
            self.run_script("run.sh", process=AS_SOMEBODY),
            (1, "", "build.sh: cannot write in build/release; make it writable, or let BUILD_DIR "
             "name another folder\n"))

    def test_other_build_folder_serves_a_tree_that_can_only_be_read(self):
        self.add_build_tools()
        self.add_script("getconf", "echo 3")
        self.add_script("ctest", 'printf "<%s>" "$@"')
        elsewhere = self.tools.parent / "else where"
        self.add_programs(elsewhere)
        elsewhere.chmod(0o777)
        self.tree.chmod(0o555)
        variables = {"BUILD_DIR": str(elsewhere)}
        self.assertEqual(self.run_script("run.sh", "-?", process=AS_SOMEBODY, **variables),
                         (0, "<-?>", ""))
        self.assertEqual(
            self.run_script("test.sh", "-R", "x", process=AS_SOMEBODY, **variables),
            (0, f"<--test-dir><{elsewhere}><--output-on-failure><--no-tests=error><-j><3><-R><x>",
             ""))


if __name__ == "__main__":
    unittest.main()

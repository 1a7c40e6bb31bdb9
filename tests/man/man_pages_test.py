#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Holds the manual pages in docs/man/ to the programs and headers that they describe.

usage: man_pages_test.py CLIENT WRAPPER SERVER C-COMPILER [UNITTEST-OPTION...]
"""

import html
import pathlib
import re
import socket
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAGES = sorted((ROOT / "docs" / "man").glob("*.[0-9]"))
CLIENT, WRAPPER, SERVER, C_COMPILER = (sys.argv.pop(1) for _ in range(4))
PUBLIC_HEADERS = [header for folder in ("util", "sys", "settings")
                  for header in sorted((ROOT / folder).glob("*.h"))] + [
                      ROOT / "probe" / "mbolt_api.h", ROOT / "probe" / "probelib.h"]


def run(*words):
    """Standard output and standard error of a program that ends by itself."""
    result = subprocess.run(words, stdin=subprocess.DEVNULL, capture_output=True, text=True,
                            timeout=60, check=False)
    return result.stdout, result.stderr


def source(name):
    return (ROOT / "docs" / "man" / name).read_text(encoding="utf-8")


def items(name, section):
    """The tagged items of a section: {tag: text}."""
    output, error = run("mandoc", "-T", "html", "-O", "fragment", ROOT / "docs" / "man" / name)
    assert output and not error, error
    text = re.search(rf'<h1 class="Sh" id="{section}">(.*?)</section>', output, re.S).group(1)
    return {in_words(tag): in_words(text)
            for tag, text in re.findall(r"<dt[^>]*>(.*?)</dt>\s*<dd[^>]*>(.*?)</dd>", text, re.S)}


def in_words(marked_up):
    return " ".join(html.unescape(re.sub("<[^>]*>", "", marked_up)).split())


def without_quotes(text):
    return re.sub("[‘’']", "", " ".join(text.split()))


def examples(name):
    """The programs in a page's examples."""
    blocks = re.findall(r"^\.Bd -literal\n(.*?)^\.Ed", source(name), re.M | re.S)
    return [block.replace(r"\e", "\\") for block in blocks]


class ManPagesTest(unittest.TestCase):
    """The pages of section 1 describe the programs, those of section 3 the libraries."""

    # ---- The pages as such ----

    def test_there_is_a_page_for_every_program_and_every_library(self):
        self.assertEqual([page.name for page in PAGES],
                         ["tarven_probe.3", "tarven_settings.3", "tarven_sys.3", "tarven_util.3",
                          "vqx-terminal-server.1", "vqx.1", "vqxclient.1"])

    def test_mandoc_has_no_warning(self):
        self.assertEqual(run("mandoc", "-T", "lint", "-W", "warning", *PAGES), ("", ""))

    def test_every_page_names_its_licence(self):
        for page in PAGES:
            with self.subTest(page=page.name):
                self.assertTrue(source(page.name).startswith('.\\" SPDX-License-Identifier: MIT\n'))

    def test_pages_of_this_project_that_are_referred_to_exist(self):
        for page in PAGES:
            for name, section in re.findall(r"^\.Xr ((?:tarven|vqx)\S*) (\d)", source(page.name),
                                            re.M):
                with self.subTest(page=page.name, name=name):
                    self.assertIn(f"{name}.{section}", [other.name for other in PAGES])

    # ---- The programs ----

    def test_options_of_the_client_are_those_of_its_help(self):
        output, _ = run(CLIENT, "-?", "nonsense")
        in_help = {f"{option} {value}": default for option, value, default in re.findall(
            r"^###VQX Client: (-\w+) <(\S+)> (\(default: \w+\))$", output, re.M)}
        in_page = items("vqxclient.1", "OPTIONS")
        self.assertEqual(sorted(in_page), sorted([*in_help, "-?"]))
        self.assertEqual(len(in_help), 2)
        for option, default in in_help.items():
            self.assertIn(default + ".", in_page[option])

    def test_options_of_the_server_are_those_of_its_help_in_the_same_words(self):
        output, _ = run(SERVER, "--help")
        in_help = {option: without_quotes(text) for option, text in re.findall(
            r"^  (--\S+(?: [A-Z]+)?) {2,}(.*(?:\n {24}.*)*)$", output, re.M)}
        in_page = items("vqx-terminal-server.1", "OPTIONS")
        self.assertEqual(list(in_page), list(in_help))
        self.assertEqual(len(in_help), 6)
        for option, text in in_help.items():
            with self.subTest(option=option):
                in_its_page = without_quotes(in_page[option])
                self.assertTrue(in_its_page.lower().startswith(text.lower() + "."), in_its_page)

    def test_commands_of_the_target_are_those_of_its_help_in_the_same_words(self):
        with subprocess.Popen([SERVER, "--port", "0"], stdout=subprocess.PIPE, text=True) as server:
            port = int(server.stdout.readline().rsplit(":", 1)[1])
            with socket.create_connection(("127.0.0.1", port), timeout=30) as target:
                target.sendall(b"help\nreboot\n")
                output = b"".join(iter(lambda: target.recv(4096), b"")).decode()
            server.terminate()
        in_help = dict(re.findall(r"^(?:> )?  (\S+(?: \S+)*) {2,}(.*)\r$", output, re.M))
        self.assertEqual(len(in_help), 12)
        self.assertEqual(items("vqx-terminal-server.1", "THE_TARGET"), in_help)

    def test_diagnostics_are_texts_of_the_programs(self):
        for page, program in (("vqxclient.1", CLIENT), ("vqx-terminal-server.1", SERVER),
                              ("tarven_probe.3", CLIENT)):
            content = pathlib.Path(program).read_bytes().decode("latin-1")
            texts = items(page, "DIAGNOSTICS")
            self.assertTrue(texts)
            for text in texts:
                with self.subTest(page=page, text=text):
                    self.assertIn(text, content)

    def test_diagnostics_of_the_wrapper_are_its_own(self):
        script = pathlib.Path(WRAPPER).read_text(encoding="utf-8")
        for shown, written in (
                ("vqx: press ^] to quit", "vqx: press %s to quit"),
                ("vqx: there is no vqxclient beside this script or in PATH",
                 "fail 127 'there is no vqxclient beside this script or in PATH'"),
                ("vqx: VQX_QUIT=key is no key that stty knows; try ^] or ^A",
                 'fail 2 "VQX_QUIT=$quit_key is no key that stty knows; try ^] or ^A"'),
                ("vqx: cannot read the modes of the terminal",
                 "fail 1 'cannot read the modes of the terminal'")):
            with self.subTest(shown=shown):
                self.assertIn(shown, items("vqx.1", "DIAGNOSTICS"))
                self.assertIn(written, script)

    # ---- The libraries ----

    def test_pages_list_every_header_of_their_umbrella(self):
        for name in ("util", "sys"):
            with self.subTest(name=name):
                umbrella = (ROOT / name / f"{name}.h").read_text(encoding="utf-8")
                included = re.findall(r'^#include "(\w+\.h)"', umbrella, re.M)
                listed = re.findall(rf"^\.It In tarven/{name}/(\S+)", source(f"tarven_{name}.3"),
                                    re.M)
                self.assertEqual(sorted(listed), sorted(included))

    def test_functions_stand_in_the_header_under_which_they_are_listed(self):
        for name in ("util", "sys"):
            header = None
            for macro, argument in re.findall(r"^\.(It In|Fn|El) ?(\S*)", source(f"tarven_{name}.3"),
                                              re.M):
                if macro == "It In":
                    header = argument
                elif macro == "El":
                    break
                else:
                    with self.subTest(function=argument):
                        text = (ROOT / header.removeprefix("tarven/")).read_text(encoding="utf-8")
                        self.assertRegex(text, rf"\b{argument}\(")

    def test_names_in_the_pages_are_those_of_the_headers(self):
        declared = set()
        for header in PUBLIC_HEADERS:
            declared |= set(re.findall(r"\w+", header.read_text(encoding="utf-8")))
        for page in PAGES:
            macros = "\n".join(re.findall(r"^\..*", source(page.name), re.M))
            for name in re.findall(r"\b(?:Fn|Dv|Va) (\w+)", macros):
                if not name.startswith("SIG"):
                    with self.subTest(page=page.name, name=name):
                        self.assertIn(name, declared)

    def test_codes_have_the_values_of_the_headers(self):
        headers = "\n".join(header.read_text(encoding="utf-8") for header in PUBLIC_HEADERS)
        codes = []
        for page in PAGES:
            codes += re.findall(r"^\.It Dv (\w+)\n(?:\\(?=-))?(-?\d+)", source(page.name), re.M)
        self.assertEqual(len(codes), 11)
        for name, value in codes:
            with self.subTest(name=name):
                self.assertRegex(headers, rf"\b{name} = {value}\b")

    def test_examples_compile_as_c_and_as_cpp(self):
        names = [page.name for page in PAGES if page.suffix == ".3"]
        self.assertEqual([len(examples(name)) for name in names], [1, 1, 1, 1])
        with tempfile.TemporaryDirectory() as folder:
            include = pathlib.Path(folder) / "include"
            include.mkdir()
            (include / "tarven").symlink_to(ROOT)
            for name in names:
                program = pathlib.Path(folder) / f"{name}.c"
                program.write_text(examples(name)[0], encoding="utf-8")
                for language in ("c -std=c11", "c++ -std=c++20"):
                    with self.subTest(page=name, language=language):
                        self.assertEqual(run(C_COMPILER, "-x", *language.split(), "-Wall",
                                             "-Wextra", "-Werror", "-fsyntax-only", "-I", include,
                                             program), ("", ""))


if __name__ == "__main__":
    unittest.main()

#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Tests of scripts/render_screen.py."""

import pathlib
import subprocess
import unittest
import xml.etree.ElementTree

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "render_screen.py"
TEXT = "{http://www.w3.org/2000/svg}text"


def render(screen, *arguments):
    result = subprocess.run([SCRIPT, *(arguments or ("10", "3", "2", "1", "title"))], input=screen,
                            capture_output=True, text=True, timeout=60, check=False)
    return result.returncode, result.stdout, result.stderr


class RenderScreenTest(unittest.TestCase):
    """A cell is 8.4 wide and 18 high; the first one's text stands at 14, 57.5."""

    def texts(self, screen):
        """What is written: (x, y, width, colour, weight, text), the title left out."""
        status, output, error = render(screen)
        self.assertEqual((status, error), (0, ""))
        elements = list(xml.etree.ElementTree.fromstring(output).iter(TEXT))[1:]
        return [(element.get("x"), element.get("y"), element.get("textLength"),
                 element.get("fill"), element.get("font-weight"), element.text)
                for element in elements]

    def test_text_stands_in_its_cells(self):
        self.assertEqual(self.texts("ab\n\n  c d\n"),
                         [("14", "57.5", "16.8", None, None, "ab"),
                          ("30.8", "93.5", "25.2", None, None, "c d")])

    def test_characters_that_mark_up_are_escaped(self):
        self.assertEqual(self.texts("<&>\"'"), [("14", "57.5", "42", None, None, "<&>\"'")])

    def test_colors_and_weight_last_until_they_are_taken_back(self):
        self.assertEqual(
            self.texts("\x1b[32mgo\x1b[39m \x1b[1;31mno\n\x1b[22mx\x1b[0my\x1b[96mz\x1b[m"),
            [("14", "57.5", "16.8", "#98c379", None, "go"),
             ("39.2", "57.5", "16.8", "#e06c75", "bold", "no"),
             ("14", "75.5", "8.4", "#e06c75", None, "x"),
             ("22.4", "75.5", "8.4", None, None, "y"),
             ("30.8", "75.5", "8.4", "#7fd8e4", None, "z")])

    def test_size_follows_from_columns_and_rows(self):
        _, output, _ = render("")
        root = xml.etree.ElementTree.fromstring(output)
        self.assertEqual((root.get("width"), root.get("height"), root.get("viewBox")),
                         ("112", "112", "0 0 112 112"))

    def test_cursor_stands_in_its_cell(self):
        _, output, _ = render("")
        self.assertIn('<rect x="30.8" y="62" width="8.4" height="17"/>', output)

    def test_title_is_shown_and_told_to_those_who_do_not_see(self):
        _, output, _ = render("", "10", "3", "0", "0", "a <b>")
        self.assertIn("<title>a &lt;b&gt;</title>", output)
        self.assertIn('aria-label="a &lt;b&gt;"', output)

    def test_what_it_does_not_know_is_an_error(self):
        for screen, message in (("\x1b[41mx", "no colour is known for code 41"),
                                ("\x1b[2Jx", "unknown control sequence in '\\x1b[2Jx'"),
                                ("1\n2\n3\n4\n", "4 lines on a screen of 3")):
            with self.subTest(screen=screen):
                self.assertEqual(render(screen), (1, "", f"render_screen.py: {message}\n"))

    def test_wrong_arguments_give_the_usage(self):
        status, output, error = render("", "10")
        self.assertEqual((status, output), (2, ""))
        self.assertIn("usage: render_screen.py COLUMNS ROWS", error)


if __name__ == "__main__":
    unittest.main()

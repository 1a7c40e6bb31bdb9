#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Draws a terminal's screen as an SVG picture.

usage: render_screen.py COLUMNS ROWS CURSOR-COLUMN CURSOR-ROW TITLE <SCREEN >PICTURE

The screen is text with the control sequences of colours (Select Graphic Rendition, ISO/IEC 6429
8.3.117), as "tmux capture-pane -e -p" prints it. Positions count from 0. Any other control sequence
is an error. The picture names fonts, but brings none along: every run of text is fitted into its
columns.
"""

import re
import sys
from xml.sax.saxutils import escape, quoteattr

CELL_WIDTH, CELL_HEIGHT, FONT_SIZE, BASELINE = 8.4, 18, 14, 13.5
MARGIN, TITLE_HEIGHT = 14, 30

BACKGROUND, FRAME, BAR, TEXT, FAINT = "#1b1f27", "#3a404d", "#262b36", "#d5dae3", "#8a93a5"
# Black, red, green, yellow, blue, magenta, cyan, white; normal and bright.
COLORS = ["#4b5263", "#e06c75", "#98c379", "#e5c07b", "#61afef", "#c678dd", "#56b6c2", "#d5dae3"]
BRIGHT_COLORS = ["#6b7488", "#ff8a93", "#b5e095", "#ffdc96", "#8cc8ff", "#e09bf5", "#7fd8e4",
                 "#ffffff"]

SEQUENCE = re.compile(r"\x1b\[([0-9;]*)m")


class Style:
    """The colour and weight that text has from here on."""

    def __init__(self):
        self.color = TEXT
        self.is_bold = False

    def take(self, parameters):
        """Takes the parameters of a control sequence, "1;31"."""
        for parameter in parameters.split(";"):
            code = int(parameter or "0")
            if code == 0:
                self.color, self.is_bold = TEXT, False
            elif code in (1, 22):
                self.is_bold = code == 1
            elif 30 <= code <= 37:
                self.color = COLORS[code - 30]
            elif code == 39:
                self.color = TEXT
            elif 90 <= code <= 97:
                self.color = BRIGHT_COLORS[code - 90]
            else:
                raise ValueError(f"no colour is known for code {code}")


def runs(line, style):
    """The pieces of a line that look alike: (column, text, colour, is bold). Blank ones are left out."""
    column = 0
    for index, part in enumerate(SEQUENCE.split(line)):
        if index % 2 == 1:
            style.take(part)
            continue
        if "\x1b" in part:
            raise ValueError(f"unknown control sequence in {part!r}")
        text = part.rstrip(" ")
        start = len(text) - len(text.lstrip(" "))
        if text:
            yield column + start, text.lstrip(" "), style.color, style.is_bold
        column += len(part)


def number(value):
    """A coordinate without needless digits."""
    return f"{value:.1f}".removesuffix(".0")


def text_element(row, column, text, color, is_bold):
    weight = ' font-weight="bold"' if is_bold else ""
    fill = "" if color == TEXT else f' fill="{color}"'
    return (f'<text x="{number(MARGIN + column * CELL_WIDTH)}" '
            f'y="{number(TITLE_HEIGHT + MARGIN + row * CELL_HEIGHT + BASELINE)}" '
            f'textLength="{number(len(text) * CELL_WIDTH)}" lengthAdjust="spacingAndGlyphs"'
            f"{fill}{weight}>{escape(text)}</text>")


def picture(screen, columns, rows, cursor, title):
    """The whole picture; cursor is a column and a row."""
    width = columns * CELL_WIDTH + 2 * MARGIN
    height = rows * CELL_HEIGHT + 2 * MARGIN + TITLE_HEIGHT
    lines = screen.split("\n")
    if lines and lines[-1] == "":
        lines.pop()
    if len(lines) > rows:
        raise ValueError(f"{len(lines)} lines on a screen of {rows}")
    elements = [
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{number(width)}" height="{number(height)}" '
        f'viewBox="0 0 {number(width)} {number(height)}" role="img" aria-label={quoteattr(title)}>',
        f"<title>{escape(title)}</title>",
        f'<rect x="0.5" y="0.5" width="{number(width - 1)}" height="{number(height - 1)}" rx="8" '
        f'fill="{BACKGROUND}" stroke="{FRAME}"/>',
        f'<path d="M1 {TITLE_HEIGHT}V8.5a7.5 7.5 0 0 1 7.5-7.5H{number(width - 8.5)}'
        f'a7.5 7.5 0 0 1 7.5 7.5V{TITLE_HEIGHT}z" fill="{BAR}"/>',
        *(f'<circle cx="{18 + 18 * i}" cy="15" r="5.5" fill="{FRAME}"/>' for i in range(3)),
        f'<g font-family="ui-monospace, Menlo, Consolas, \'DejaVu Sans Mono\', monospace" '
        f'font-size="{FONT_SIZE}" fill="{TEXT}" xml:space="preserve">',
        f'<text x="{number(width / 2)}" y="20" text-anchor="middle" font-size="12" '
        f'fill="{FAINT}">{escape(title)}</text>',
    ]
    style = Style()
    for row, line in enumerate(lines):
        elements += [text_element(row, *run) for run in runs(line, style)]
    elements += [
        f'<rect x="{number(MARGIN + cursor[0] * CELL_WIDTH)}" '
        f'y="{number(TITLE_HEIGHT + MARGIN + cursor[1] * CELL_HEIGHT)}" '
        f'width="{number(CELL_WIDTH)}" height="{CELL_HEIGHT - 1}"/>',
        "</g>",
        "</svg>",
    ]
    return "\n".join(elements) + "\n"


def main(arguments):
    if len(arguments) != 5:
        print(__doc__, file=sys.stderr)
        return 2
    columns, rows, cursor_column, cursor_row = map(int, arguments[:4])
    try:
        print(picture(sys.stdin.read(), columns, rows, (cursor_column, cursor_row), arguments[4]),
              end="")
    except ValueError as error:
        print(f"render_screen.py: {error}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks that the README's figures are those of docs/performance.md.

usage: check_figures.py [ROOT]

Every row of the README's part "How fast it is" has to begin a row there; of a ratio's quartiles the
README has none.
"""

import pathlib
import re
import sys

PART = re.compile(r"^## How fast it is$(.*?)^## ", re.DOTALL | re.MULTILINE)


def rows(text):
    """The rows of a text's tables, their heads left out, cell by cell."""
    lines = text.splitlines()
    for line, following in zip(lines, lines[1:] + [""]):
        if line.startswith("| ") and not following.startswith("|--"):
            yield tuple(cell.strip() for cell in line.strip("|").split("|"))


def main(arguments):
    root = pathlib.Path(arguments[0] if arguments else pathlib.Path(__file__).resolve().parents[2])
    page = (root / "docs" / "performance.md").read_text(encoding="utf-8")
    known = [tuple(re.sub(r" \(.*–.*\)$", "", cell) for cell in row) for row in rows(page)]
    part = PART.search((root / "README.md").read_text(encoding="utf-8"))
    shown = list(rows(part[1])) if part else []
    wrong = [row for row in shown if not any(row == other[:len(row)] for other in known)]
    for row in wrong:
        print(f"README.md: not in docs/performance.md: {' | '.join(row)}")
    if wrong or not shown:
        return 1
    print(f"{len(shown)} rows, as in docs/performance.md.")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

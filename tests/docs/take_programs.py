#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Takes the programs out of a document, so that they can be built and run.

usage: take_programs.py DOCUMENT FOLDER

A block of code in C or C++ is a whole program, and the next block, which names no language, is what it
prints. They go into FOLDER as program_1.c or .cpp, program_1.txt and so on; files that would not change
are left alone. Prints the sources' names, a line each.
"""

import pathlib
import re
import sys

BLOCK = re.compile(r"^```(\w*)\n(.*?)^```$", re.DOTALL | re.MULTILINE)
LANGUAGES = {"c", "cpp"}


def programs(text):
    """Yields (language, program, what it prints)."""
    blocks = BLOCK.findall(text)
    for (language, program), (next_language, output) in zip(blocks, blocks[1:] + [("end", "")]):
        if language in LANGUAGES:
            if next_language:
                sys.exit(f"No output follows this program:\n{program}")
            yield language, program, output


def write(path, text):
    if not path.is_file() or path.read_text(encoding="utf-8") != text:
        path.write_text(text, encoding="utf-8")


def main():
    document, folder = map(pathlib.Path, sys.argv[1:])
    folder.mkdir(parents=True, exist_ok=True)
    found = list(programs(document.read_text(encoding="utf-8")))
    if not found:
        sys.exit(f"{document} has no programs")
    for number, (language, program, output) in enumerate(found, 1):
        source = folder / f"program_{number}.{language}"
        write(source, program)
        write(source.with_suffix(".txt"), output)
        print(source.name)


if __name__ == "__main__":
    main()

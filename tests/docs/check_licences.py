#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks that every file of the tree names its licence: in one of its first lines, or in REUSE.toml,
which must not list patterns that fit no file.

usage: check_licences.py [ROOT]

Prints the files that do not and exits with 1, or prints one summary line and exits with 0.
"""

import os
import pathlib
import re
import sys
import tomllib

FOLDERS_OF_NO_INTEREST = {".git", "build", "node_modules"}
LINE = b"SPDX-License-Identifier: MIT"
LOOKED_AT = 3


def files_of(root):
    for folder, folders, names in os.walk(root):
        folders[:] = [name for name in folders if name not in FOLDERS_OF_NO_INTEREST]
        for name in names:
            yield (pathlib.Path(folder) / name).relative_to(root)


def patterns_of(root):
    """The paths of REUSE.toml as (text, regular expression): "*" stops at a folder, "**" does not."""
    listed = tomllib.loads((root / "REUSE.toml").read_text(encoding="utf-8"))["annotations"]
    for text in (path for part in listed for path in part["path"]):
        pieces = [".*" if piece == "**" else "[^/]*" if piece == "*" else re.escape(piece)
                  for piece in re.split(r"(\*+)", text)]
        yield text, re.compile("".join(pieces))


def names_its_licence(path):
    with path.open("rb") as file:
        return any(LINE in line for line in file.readlines()[:LOOKED_AT])


def main(arguments):
    root = pathlib.Path(*arguments or [__file__ + "/../../.."]).resolve()
    patterns = list(patterns_of(root))
    unused = {text for text, _ in patterns}
    silent = []
    files = sorted(files_of(root))
    for file in files:
        fitting = {text for text, pattern in patterns if pattern.fullmatch(file.as_posix())}
        unused -= fitting
        if not fitting and file.name != "LICENSE" and not names_its_licence(root / file):
            silent.append(f"{file}: no licence is named")
    silent += [f"REUSE.toml: {text} fits no file" for text in sorted(unused)]
    print("\n".join(silent) or f"{len(files)} files name their licence.")
    return 1 if silent else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

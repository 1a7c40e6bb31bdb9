#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Holds the public headers against lists of what they have to declare.

usage: check_prototypes.py ROOT LIST...

A list holds one name a line: the functions and variables with C linkage of one library. Together the
public headers of ROOT have to declare all names of all lists and no others, and each declaration has
to stand under a comment that describes it, its own or that of the declarations it directly follows.
The probe's entry points, which come out of a list of their own, are left out.
"""

import pathlib
import re
import sys

FOLDERS = ("probe", "settings", "sys", "util")
GENERATED = {"probe/mbolt_api.h"}

DECLARATION = re.compile(r"^(?:extern )?(?!typedef )(?:const )?\w+(?: |\* )\**"
                         r"((?:DYNBUFFER|PROBELIB|SYS|UTIL|XML)_\w+)(?:\(|\[|;)")
TITLE = re.compile(r"^/\* ---- .* ---- \*/$")


def public_headers(root):
    for folder in FOLDERS:
        for path in sorted((root / folder).glob("*.h")):
            text = path.read_text(encoding="utf-8")
            if 'extern "C"' in text and path.relative_to(root).as_posix() not in GENERATED:
                yield path.relative_to(root).as_posix(), text


def declarations(text):
    """Yields (line number, name, whether it is described) for every declaration of a header."""
    is_described = is_in_comment = goes_on = False
    for number, line in enumerate(text.splitlines(), 1):
        if is_in_comment or line.startswith("/*"):
            is_in_comment = "*/" not in line
            is_described = not TITLE.match(line)
        elif not line.strip():
            is_described = False
        elif goes_on:
            goes_on = not line.endswith(";")
        else:
            match = DECLARATION.match(line)
            if match:
                yield number, match[1], is_described
                goes_on = not line.endswith(";")


def main():
    root, *lists = map(pathlib.Path, sys.argv[1:])
    expected = {name for path in lists for name in path.read_text(encoding="utf-8").split()}
    found, wrong = set(), []
    for path, text in public_headers(root):
        for number, name, is_described in declarations(text):
            found.add(name)
            if name not in expected:
                wrong.append(f"{path}:{number}: {name} stands in no list")
            if not is_described:
                wrong.append(f"{path}:{number}: {name} is not described")
    wrong += [f"{name}: declared in no header" for name in sorted(expected - found)]
    if wrong or not expected:
        print("\n".join(wrong) or "The lists are empty.")
        return 1
    print(f"{len(found)} names declared and described, as listed.")
    return 0


if __name__ == "__main__":
    sys.exit(main())

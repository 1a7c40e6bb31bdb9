#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Compares the names a static library defines with the list kept beside this script.

usage: check_exports.py NM LIBRARY LIST...

The lists hold the library's C names, one a line, as they are or as ENTRY_POINT(name, ...). C++ names must lie in one of the product's own
namespaces, so that they meet nobody else's.
"""

import pathlib
import re
import subprocess
import sys

NAMESPACES = ("byte_search", "byte_swap", "calendar", "descriptor_wait", "path_access", "platform",
              "processor", "text_compare", "xml_arena", "xml_load", "xml_marks", "xml_record")
# What sanitizers, coverage and templates of the C++ library leave in object files.
NOT_OURS = re.compile(r"__odr_asan|__asan|__ubsan|__tsan|__gcov|_ZGV|_ZNS?K?St|_ZNKSt|_ZSt|_ZTS|_ZTI")


def defined_names(nm, library):
    """The external names that nm finds defined, weak ones (of templates and inlines) left out."""
    output = subprocess.run(
        [nm, "--defined-only", "--extern-only", "--no-sort", library],
        check=True, capture_output=True, text=True).stdout
    for line in output.splitlines():
        words = line.split()
        if len(words) == 3 and words[1] not in "WVwvu" and not NOT_OURS.match(words[2]):
            yield words[2]


def listed_names(path):
    text = pathlib.Path(path).read_text(encoding="utf-8")
    return re.findall(r"^(?:ENTRY_POINT\()?(\w+)", text, re.MULTILINE)


def main():
    nm, library, *list_paths = sys.argv[1:]
    expected = {name for path in list_paths for name in listed_names(path)}
    names = set(defined_names(nm, library))
    mangled = {name for name in names if name.startswith("_Z")}
    foreign = {name for name in mangled
               if not any(f"_ZN{len(space)}{space}" in name for space in NAMESPACES)}
    plain = names - mangled
    for title, wrong in (("not in the list", plain - expected),
                         ("in the list, but not defined", expected - plain),
                         ("in no namespace of ours", foreign)):
        for name in sorted(wrong):
            print(f"{name}: {title}")
    if plain != expected or foreign:
        return 1
    print(f"{len(expected)} names, as listed.")
    return 0


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Looks into a cross-built program with LLVM's tools, since no machine here can run it.

usage: inspect.py CHECK PROGRAM [LIST [ENTRY_POINTS]]

    format    64-bit x86-64 executable, position-independent, for macOS 11.0 and later
    needs     the imported libraries, in the program's order, are those of LIST
    imports   the imported names with their libraries are those of LIST
    exports   the exported names are those of LIST and the functions of ENTRY_POINTS
    paths     no path of the build machine stands in the program
"""

import pathlib
import re
import shutil
import subprocess
import sys


def llvm(tool, *arguments):
    """The output of one of LLVM's tools, whose names may end in a version."""
    program = shutil.which(f"llvm-{tool}") or shutil.which(f"llvm-{tool}-14")
    if program is None:
        sys.exit(f"llvm-{tool} is missing. Run: scripts/setup.sh darwin")
    return subprocess.run([program, *arguments], check=True, capture_output=True, text=True).stdout


def compare(found, list_path, more_expected=()):
    """Fails with every difference between what was found and the list kept in the tree."""
    expected = pathlib.Path(list_path).read_text(encoding="utf-8").split("\n")
    expected = [line for line in expected if line] + list(more_expected)
    for line in sorted(set(found) - set(expected)):
        print(f"new:  {line}")
    for line in sorted(set(expected) - set(found)):
        print(f"gone: {line}")
    if sorted(found) != sorted(expected):
        sys.exit(f"The program differs from {list_path}.")
    print(f"{len(found)} entries, as listed.")


def check_format(program):
    headers = llvm("objdump", "--macho", "--private-headers", program)
    for pattern in (r"MH_MAGIC_64\s+X86_64\s+\S+\s+\S+\s+EXECUTE", r"\bPIE\b",
                    r"LC_BUILD_VERSION[^L]*platform macos[^L]*minos 11\.0"):
        if not re.search(pattern, headers):
            sys.exit(f"{program} has no {pattern} in its headers:\n{headers}")
    print("64-bit x86-64, position-independent, macOS 11.0 and later.")


def check_needs(program, list_path):
    output = llvm("otool", "-L", program)
    compare(re.findall(r"^\t(\S+) \(compatibility", output, re.MULTILINE), list_path)


def check_imports(program, list_path):
    output = llvm("nm", "--undefined-only", "-m", program)
    compare([f"{name} {library}" for name, library in
             re.findall(r"external (\S+) \(from (\S+)\)", output)], list_path)


def check_exports(program, list_path, entry_points):
    functions = re.findall(r"^ENTRY_POINT\((\w+),", pathlib.Path(entry_points).read_text(
        encoding="utf-8"), re.MULTILINE)
    output = llvm("objdump", "--macho", "--exports-trie", program)
    compare(re.findall(r"^0x\S+\s+(\S+)", output, re.MULTILINE), list_path,
            [f"_{name}" for name in functions])


def check_paths(program):
    root = str(pathlib.Path(__file__).resolve().parents[2])
    content = pathlib.Path(program).read_bytes()
    for path in (root, str(pathlib.Path.home()), "/build/", "node_modules"):
        if path.encode() in content:
            sys.exit(f'"{path}" stands in {program}.')
    print("No path of this machine.")


CHECKS = {"format": check_format, "needs": check_needs, "imports": check_imports,
          "exports": check_exports, "paths": check_paths}

if __name__ == "__main__":
    CHECKS[sys.argv[1]](*sys.argv[2:])

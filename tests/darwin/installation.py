#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Installs a cross-built tree and holds it against the list of what is installed on Linux.

usage: installation.py CMAKE BUILD_FOLDER

The demo server is missing, since it is not linked here, and the module ends in .dylib.
"""

import pathlib
import sys
import tempfile

sys.dont_write_bytecode = True
sys.path.append(str(pathlib.Path(__file__).resolve().parents[1] / "package"))
from installed_tree import TREE, documents, files_below, listed, run


def main():
    cmake, build = sys.argv[1:]
    expected = {name.replace("libtarvenprobe.so", "libtarvenprobe.dylib")
                for name in listed(TREE / "tests/package/installed_files.txt") + documents()}
    expected.remove("bin/vqx-terminal-server")
    with tempfile.TemporaryDirectory() as prefix:
        run(cmake, "--install", build, "--prefix", prefix)
        found = set(files_below(prefix))
    for name in sorted(found ^ expected):
        print(f"{'new: ' if name in found else 'gone:'} {name}")
    if found != expected:
        sys.exit("What is installed differs from the list.")
    print(f"{len(found)} files, as listed.")


main()

#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Builds the program twice with one SOURCE_DATE_EPOCH and compares the two, byte by byte.

usage: reproduce.py CMAKE SOURCE_FOLDER WORK_FOLDER
"""

import os
import pathlib
import shutil
import subprocess
import sys


def build(cmake, source, folder):
    """The bytes of a program built from nothing in a folder that is always the same."""
    shutil.rmtree(folder, ignore_errors=True)
    environment = dict(os.environ, SOURCE_DATE_EPOCH="86400")
    for arguments in (["--preset", "darwin-x86_64", "-B", str(folder)], ["--build", str(folder), "--target", "vqxclient"]):
        subprocess.run([cmake, *arguments], cwd=source, env=environment, check=True,
                       stdout=subprocess.DEVNULL)
    return (folder / "bin" / "vqxclient").read_bytes()


def main():
    cmake, source, work = sys.argv[1:]
    first, second = (build(cmake, source, pathlib.Path(work)) for _ in range(2))
    if b"Jan  2 1970" not in first:
        sys.exit("The build stamp does not follow SOURCE_DATE_EPOCH.")
    if first != second:
        sys.exit("Two builds of the same sources differ.")
    print(f"{len(first)} bytes, twice the same.")


if __name__ == "__main__":
    main()

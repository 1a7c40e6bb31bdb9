#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs a program of a document and compares what it prints.

usage: run_program.py PROGRAM OUTPUT PROBE_LIBRARY

It runs as a copy in a folder of its own, which is its home as well, with the probe's library beside it.
"""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile


def main():
    program, output, probe_library = sys.argv[1:]
    expected = pathlib.Path(output).read_text(encoding="utf-8")
    with tempfile.TemporaryDirectory() as folder:
        shutil.copy(probe_library, folder)
        copy = shutil.copy(program, folder)
        run = subprocess.run([copy], cwd=folder, env=os.environ | {"HOME": folder}, timeout=60,
                             capture_output=True, text=True, check=False)
    if run.returncode == 0 and run.stdout == expected:
        return 0
    print(f"exit status {run.returncode}\n{run.stdout}--- expected:\n{expected}--- errors:\n{run.stderr}")
    return 1


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Looks into an ELF program or module of a release build: is it hardened?

usage: inspect_hardening.py READELF FILE...

Every file has to be position-independent, with read-only relocations that are all bound at the
start, a stack that is not executed, no segment that is writable and executable at once, frames that
are checked, and calls of the C library that are checked against the size of what they write into.
"""

import re
import subprocess
import sys


def readelf(program, option, path):
    return subprocess.run([program, option, "--wide", path], check=True, capture_output=True,
                          text=True).stdout


def findings(program, path):
    header = readelf(program, "--file-header", path)
    segments = readelf(program, "--program-headers", path)
    dynamic = readelf(program, "--dynamic", path)
    symbols = readelf(program, "--dyn-syms", path)
    rules = (
        ("position-independent", re.search(r"Type:\s+DYN", header)),
        ("read-only relocations", "GNU_RELRO" in segments),
        ("all symbols bound at the start", re.search(r"\(FLAGS\).*\bBIND_NOW\b", dynamic)),
        ("a stack that is not executed", re.search(r"GNU_STACK\s+(0x\w+\s+){5}RW\s", segments)),
        ("no segment both writable and executable", not re.search(r"LOAD\s.*\sRWE\s", segments)),
        ("checked frames", "__stack_chk_fail@" in symbols),
        ("checked calls of the C library", re.search(r"__\w+_chk@", symbols)),
    )
    return [f"{path} lacks: {what}" for what, holds in rules if not holds]


def main(arguments):
    if len(arguments) < 2:
        sys.exit(__doc__)
    program, *paths = arguments
    lacking = [finding for path in paths for finding in findings(program, path)]
    if lacking:
        sys.exit("\n".join(lacking))
    print(f"Hardened: {', '.join(paths)}")


main(sys.argv[1:])

#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes probe/mbolt_api.h, the declarations of the probe's programming interface, from
probe/entry_points.def.

usage: generate_probe_files.py [--check]

With --check nothing is written; the exit status is 1 when the file is not what would be written.
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[1]
LIST = ROOT / "probe" / "entry_points.def"
HEADER = ROOT / "probe" / "mbolt_api.h"

LINE = re.compile(r"ENTRY_POINT\((\w+), (\d)\)|// (MBOLT\w*_): (.+)|(//.*)?")

HEAD = """\
/* SPDX-License-Identifier: MIT */

/* The programming interface of the debug probe, {count} functions.
 *
 * Every function forwards to the function of the same name in the probe's shared library. The first
 * call opens the library if need be (probelib.h says where it is looked for) and finds the function;
 * from then on a call is a load and a jump. What a function does, takes and returns is the library's
 * affair: here stand the names and how many arguments they take.
 *
 * Each argument is an integer or a pointer, cast to uintptr_t, and is passed on bit for bit; the
 * result is the library's own, to be cast to what its function gives, and means nothing when that
 * gives nothing. Narrower results have to be cut to their width by the caller: int32_t result =
 * (int32_t)MBOLT_Open(). Null rules are the library's.
 *
 * No function has an error code of its own for the way to the library. A library that cannot be
 * opened, or that lacks the called function, ends the process with status 1 after one of these lines
 * on standard output:
 *
 *   Could not open M-Bolt shared library. Exiting now.
 *   Function not found: NAME (TEXT OF THE DYNAMIC LOADER). Exiting now.
 *
 * A function whose address in the library is null is not called and gives 0, every time anew.
 *
 * Calls are not serialised: whether functions may run on several threads at once is the library's
 * affair. First calls may meet, too; they find the same function.
 *
 * Written by scripts/generate_probe_files.py from entry_points.def, where a function is a line. */
#ifndef TARVEN_PROBE_MBOLT_API_H_
#define TARVEN_PROBE_MBOLT_API_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {{
#endif

#pragma GCC visibility push(default)
"""

FOOT = """\

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

#endif
"""


def entries(text):
    """Yields (family, what it is about) and (name, number of arguments) in the list's order."""
    for number, line in enumerate(text.splitlines(), 1):
        match = LINE.fullmatch(line)
        if not match:
            sys.exit(f"{LIST}:{number}: neither an entry point nor a comment: {line}")
        name, count, family, about, _ = match.groups()
        if name:
            yield name, int(count)
        elif family:
            yield family, about


def declarations(text):
    """Yields the lines of the header between its head and its foot."""
    for name, what in entries(text):
        if isinstance(what, str):
            yield ""
            yield f"/* ---- {name}: {what} ---- */"
        else:
            yield f"intptr_t {name}({', '.join(['uintptr_t'] * what) or 'void'});"


def header(text):
    count = sum(isinstance(what, int) for _, what in entries(text))
    return HEAD.format(count=count) + "\n".join(declarations(text)) + "\n" + FOOT


def main(arguments):
    expected = header(LIST.read_text(encoding="utf-8"))
    if arguments == ["--check"]:
        if not HEADER.is_file() or HEADER.read_text(encoding="utf-8") != expected:
            print(f"{HEADER} is not what {LIST} asks for. Run: scripts/generate_probe_files.py")
            return 1
        return 0
    if arguments:
        sys.exit(__doc__)
    HEADER.write_text(expected, encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

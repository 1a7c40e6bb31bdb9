# SPDX-License-Identifier: MIT

"""Checks that the fault tests know every function of the system that the product calls.

usage: check_lists.py NM FAULTY_CALLS_DEF CALLS_LEFT_OUT ROOT OBJECT...

Every symbol that the objects need and neither they nor the text families define must stand in
exactly one of the two lists, and neither list may have a name that no object needs, unless it
"touches memory alone": compilers put some such functions in by themselves or leave them out.

A line of CALLS_LEFT_OUT is "name: reason"; a reason "see PATH" names the test, below ROOT, that has
the function's failures in its hands: it must define __wrap_NAME.
"""
import re
import subprocess
import sys
from pathlib import Path

# What the compiler and its checkers put in by themselves.
COMPILERS_OWN = re.compile(
    r"__asan_|__ubsan_|__tsan_|__sanitizer_|__gcov|__llvm_|__stack_chk_|_GLOBAL_OFFSET_TABLE_|_Unwind_"
    r"|__gxx_personality|__cxa_|__dso_handle|__start_|__stop_|__tls_get_addr|llvm_gc")
# The layers' own functions and those of the text families below them.
PRODUCTS_OWN = re.compile(r"SYS_|UTIL_|MBOLT_|PROBELIB_|_ZN")
MEMORY_ALONE = "touches memory alone"


def symbols(nm, objects, option):
    output = subprocess.run([nm, "-P", option, *objects], check=True, capture_output=True, text=True)
    rows = [line.split() for line in output.stdout.splitlines()]
    return {row[0].split("@")[0].lstrip() for row in rows if len(row) >= 2}


# A fortified or renamed form stands for the plain function.
def plain(name):
    name = re.sub(r"^__(.*)_chk$", r"\1", name)
    return re.sub(r"^__isoc\d\d_", "", name)


def needed_calls(nm, objects):
    wanted = symbols(nm, objects, "-u")
    return {plain(name) for name in wanted
            if not COMPILERS_OWN.match(name) and not PRODUCTS_OWN.match(name)}


def faulty_calls(path):
    return re.findall(r"^FAULTY_CALL\((\w+),", path.read_text(), re.MULTILINE)


def calls_left_out(path):
    rows = [line for line in path.read_text().splitlines() if line and not line.startswith("#")]
    pairs = [line.partition(":") for line in rows]
    return [(name.strip(), reason.strip()) for name, _, reason in pairs]


def main():
    nm, faulty_path, left_out_path, root, *objects = sys.argv[1:]
    needed = needed_calls(nm, objects)
    faulty = faulty_calls(Path(faulty_path))
    left_out = calls_left_out(Path(left_out_path))
    listed = faulty + [name for name, _ in left_out]

    errors = [f"{name}: no list has it" for name in sorted(needed - set(listed))]
    optional = {name for name, reason in left_out if reason == MEMORY_ALONE}
    errors += [f"{name}: listed, but no object needs it"
               for name in sorted(set(listed) - needed - optional)]
    errors += [f"{name}: listed twice" for name in sorted(set(listed)) if listed.count(name) > 1]
    for name, reason in left_out:
        if not reason:
            errors.append(f"{name}: left out without a reason")
        test = re.fullmatch(r"see (\S+)", reason)
        if test and f"__wrap_{name}(" not in (Path(root) / test.group(1)).read_text():
            errors.append(f"{name}: {test.group(1)} does not have it in its hands")
    if len(needed) < 50 or not faulty or not left_out:
        errors.append(f"{len(needed)} names from {len(objects)} objects cannot be right")
    print("\n".join(errors))
    return 1 if errors else 0


sys.exit(main())

#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Looks into a built program or module: does it export the probe's entry points, and do they cost
what they should?

usage: inspect_entry_points.py CHECK NM OBJDUMP FILE

    exports      the exported names are those of probe/entry_points.def and no others
    forwarders   every entry point is the load of its slot and a jump, in an optimised build: no
                 push, no call, no test before the jump

NM and OBJDUMP are the binutils' programs or LLVM's; FILE is ELF, or Mach-O with LLVM's programs.
"""

import pathlib
import re
import subprocess
import sys

LIST = pathlib.Path(__file__).resolve().parents[2] / "probe" / "entry_points.def"

# What Mach-O linkers add to every program or module.
OF_THE_LINKER = {"__mh_execute_header", "__mh_dylib_header", "___dso_handle"}

SLOT = r"-?(?:0x)?[0-9a-f]+\(%rip\)"
FORWARDERS = (
    re.compile(rf"(?:endbr64;)?movq? {SLOT},%rax;jmpq? \*%rax"),
    re.compile(rf"(?:endbr64;)?jmpq? \*{SLOT}"),
)


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def listed_names():
    names = re.findall(r"^ENTRY_POINT\((\w+), \d\)$", LIST.read_text(encoding="utf-8"),
                       re.MULTILINE)
    assert len(names) == len(set(names))
    return names


def is_mach_o(path):
    return pathlib.Path(path).read_bytes()[:4] == b"\xcf\xfa\xed\xfe"


def exported_names(nm, path):
    if is_mach_o(path):
        output = run(nm, "--extern-only", "--defined-only", path)
    else:
        output = run(nm, "--dynamic", "--defined-only", path)
    names = {line.split()[-1] for line in output.splitlines() if line.strip()}
    if is_mach_o(path):
        names = {name.removeprefix("_") for name in names - OF_THE_LINKER}
    return names


def check_exports(nm, _, path):
    listed, exported = set(listed_names()), exported_names(nm, path)
    for title, names in (("not exported", listed - exported), ("exported as well", exported - listed)):
        for name in sorted(names):
            print(f"{name}: {title}")
    if listed != exported:
        return 1
    print(f"{path}: {len(listed)} names exported, as listed.")
    return 0


def functions(objdump, path):
    """Each function's name and its instructions up to the first jump, joined by semicolons."""
    output = run(objdump, "--disassemble", "--no-show-raw-insn", path)
    name, instructions, is_over = None, [], False
    for line in output.splitlines():
        start = re.fullmatch(r"[0-9a-f]+ <_?(MBOLT\w+)>:", line)
        if start:
            name, instructions, is_over = start[1], [], False
        elif not line.strip():
            name = None
        elif name and not is_over:
            instruction = re.sub(r"#.*|<.*", "", line.partition(":")[2])
            instructions.append(re.sub(r",\s+", ",", " ".join(instruction.split())))
            is_over = instructions[-1].startswith("j")
            if is_over:
                yield name, ";".join(instructions)


def check_forwarders(_, objdump, path):
    found = dict(functions(objdump, path))
    wrong = 0
    for name in listed_names():
        instructions = found.get(name, "(not there)")
        if not any(form.fullmatch(instructions) for form in FORWARDERS):
            print(f"{name}: {instructions}")
            wrong += 1
    if wrong:
        print(f"{path}: {wrong} entry points are more than a load and a jump.")
        return 1
    print(f"{path}: {len(listed_names())} entry points, each a load and a jump.")
    return 0


CHECKS = {"exports": check_exports, "forwarders": check_forwarders}

if __name__ == "__main__":
    sys.exit(CHECKS[sys.argv[1]](*sys.argv[2:]))

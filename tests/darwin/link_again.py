#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Links the program's objects once more, with LLVM's own Mach-O linker as a second opinion.

usage: link_again.py SDK_FOLDER SYSTEM_STUBS_FOLDER OUTPUT OBJECT...
"""

import shutil
import subprocess
import sys


def main():
    sdk, system_stubs, output, *objects = sys.argv[1:]
    linker = shutil.which("ld64.lld") or shutil.which("ld64.lld-14")
    if linker is None:
        sys.exit("ld64.lld is missing. Run: scripts/setup.sh darwin")
    result = subprocess.run(
        [linker, "-arch", "x86_64", "-platform_version", "macos", "11.0", "26.4", "-dead_strip",
         f"-F{sdk}/frameworks", f"-L{sdk}/lib", f"-L{system_stubs}", *objects,
         "-framework", "IOKit", "-framework", "CoreFoundation", "-ledit", "-lSystem", "-o", output],
        capture_output=True, text=True, check=False)
    print(result.stdout + result.stderr, end="")
    if result.returncode != 0 or result.stderr:
        sys.exit("The second linker has something to say.")
    print("Links without a word.")


if __name__ == "__main__":
    main()

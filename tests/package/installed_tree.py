# SPDX-License-Identifier: MIT
"""What the tests of an installed tree and of the packages share."""

import os
import pathlib
import subprocess

TREE = pathlib.Path(__file__).resolve().parents[2]

# What the client prints for the argument "nonsense", before it ends with status 0.
NONSENSE_OUTPUT = ("\n###VQX Client ERROR: Unknown command line parameter nonsense found.\r\n"
                   "###VQX Client: Shutting down...\r\n")


def run(*arguments, **options):
    """Runs a command to its end and returns its standard output; fails with all it printed."""
    result = subprocess.run([str(argument) for argument in arguments], text=True, timeout=120,
                            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False, **options)
    if result.returncode != 0:
        raise AssertionError(f"{arguments} ended with {result.returncode}:\n{result.stdout}")
    return result.stdout


def run_bare(program, *arguments):
    """The exact output of a program that gets no input and nothing of this environment but a PATH."""
    result = subprocess.run([str(program), *arguments], stdin=subprocess.DEVNULL, capture_output=True,
                            timeout=60, check=False, env={"PATH": "/usr/bin:/bin"})
    if result.returncode != 0 or result.stderr:
        raise AssertionError(f"{program} ended with {result.returncode}: {result.stderr}")
    return result.stdout.decode()


def files_below(folder):
    """The paths of all files and links below a folder, relative to it."""
    return sorted(pathlib.Path(parent, name).relative_to(folder).as_posix()
                  for parent, _, names in os.walk(folder) for name in names)


def listed(path):
    """The lines of a list, without its comments."""
    lines = path.read_text(encoding="utf-8").splitlines()
    return [line for line in lines if line and not line.startswith("#")]


def documents():
    """Where the documents of the tree are installed, as far as their number is not fixed."""
    folder = TREE / "docs"
    texts = [*folder.glob("*.md"), *folder.glob("*.svg")]
    pages = folder.glob("man/*.[1-9]")
    return ([f"share/doc/vqxclient/docs/{path.name}" for path in texts] +
            [f"share/man/man{path.suffix[1:]}/{path.name}" for path in pages])

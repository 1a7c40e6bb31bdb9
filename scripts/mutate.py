#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Breaks the code in small ways, one at a time, and counts how many the tests notice.

usage: mutate.py [--count N] [--seed N] [--least PERCENT] [--only NUMBER[,NUMBER...]] [FOLDER...]

Without arguments 200 breaks of util and settings, seed 1, and at least 95 % to be noticed. A break
is an operator or a constant that becomes another one, or a statement that is left out. One that does
not compile is replaced by another; one that makes a test hang counts as noticed. The tests of the
broken file run first, then all others of util and settings and those of their failures.

The survivors are printed, each with its number among the breaks of the seed; --only tries those numbers
again, once a test has been added. Those that change nothing a caller can see, because the code only
takes another way to the same result, stand in tests/breaks_without_effect.txt with the reason; they are
counted, but not among those to be noticed.

Works on a copy of what git tracks, in build/mutation.
"""

import argparse
import os
import pathlib
import random
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
WITHOUT_EFFECT = ROOT / "tests" / "breaks_without_effect.txt"
WORK = ROOT / "build" / "mutation"
TREE = WORK / "tree"
BUILD = WORK / "build"
PATIENCE_S = 120

COMMENT_OR_TEXT = re.compile(
    r"""//[^\n]*|/\*.*?\*/|^[ \t]*#(?:\\\n|[^\n])*|"(?:\\.|[^"\\\n])*"|(?<!\w)'(?:\\.|[^'\\\n])*'""",
    re.DOTALL | re.MULTILINE)

OPERATORS = {
    "<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==", "&&": "||", "||": "&&",
    "+": "-", "-": "+", "*": "+", "/": "*", "%": "/", "<<": ">>", ">>": "<<", "&": "|", "|": "&",
    "+=": "-=", "-=": "+=", "|=": "&=", "&=": "|=", "++": "--", "--": "++",
}
# Between blanks an operator has two operands; a template's brackets and references stand closer.
BINARY = re.compile(r"(?<= )(<=|>=|==|!=|&&|\|\||<<|>>|\+=|-=|\|=|&=|[-+*/%<>&|])(?= )")
STEP = re.compile(r"\+\+|--")
NUMBER = re.compile(r"(?<![\w.'])(0x[0-9A-Fa-f]+|\d+)(?=[uUlL]*\b)(?![.'])")
# A call or an assignment on a line of its own.
STATEMENT = re.compile(r"^[ \t]*(?=\S)(?!return|using|static|constexpr|const |auto|case|break|continue|goto|"
                       r"typedef|struct|else|[\w:<>]+[ *&]+\w+( =|\()|}).*[\w)\]]\s*;$", re.MULTILINE)


def without_comments(text):
    """The text with comments, directives and literals blanked out, every position kept."""
    return COMMENT_OR_TEXT.sub(lambda match: re.sub(r"[^\n]", " ", match[0]), text)


def breaks_of(text):
    """Yields (start, end, replacement) for every small break of a source."""
    code = without_comments(text)
    for pattern in (BINARY, STEP):
        for match in pattern.finditer(code):
            yield match.start(), match.end(), OPERATORS[match[0]]
    for match in NUMBER.finditer(code):
        value = int(match[0], 0)
        yield match.start(), match.end(), str(value + 1)
    for match in STATEMENT.finditer(code):
        yield match.start(), match.end(), ""


def run(command, **options):
    return subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, **options)


def copy_tree():
    """Makes the copy, or brings it up to date without touching what has not changed."""
    files = subprocess.run(["git", "ls-files", "-z"], cwd=ROOT, check=True, capture_output=True,
                           text=True).stdout.split("\0")
    for file in filter(None, files):
        target = TREE / file
        target.parent.mkdir(parents=True, exist_ok=True)
        content = (ROOT / file).read_bytes()
        if not target.exists() or target.read_bytes() != content:
            shutil.copy(ROOT / file, target)


def build(*targets):
    return run(["cmake", "--build", BUILD, "--target", *targets]).returncode == 0


def passes(program):
    try:
        # In a group of its own, so that what a hanging test has started ends with it.
        with subprocess.Popen([BUILD / "bin" / program], stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, start_new_session=True) as process:
            try:
                return process.wait(PATIENCE_S) == 0
            finally:
                if process.poll() is None:
                    os.killpg(process.pid, 9)
    except subprocess.TimeoutExpired:
        return False


def test_programs():
    own = sorted(f"{path.parent.name}_{path.stem}"
                 for folder in ("util", "settings")
                 for path in (TREE / "tests" / folder).glob("*_test.cpp"))
    return own + [f"faults_{name}_test"
                  for name in ("allocation", "settings_calls", "settings_writes")]


def is_noticed(file, programs):
    """Whether a test fails; None when the broken code does not compile."""
    own = [name for name in programs
           if name.startswith(f"{file.parent.name}_{file.stem.split('.')[0]}")]
    others = [name for name in programs if name not in own]
    for group in (own, others):
        if not group:
            continue
        if not build(*group):
            return None
        if not all(passes(name) for name in group):
            return True
    return False


def breaks_without_effect():
    """The listed breaks as (file, line, broken line)."""
    listed = set()
    for block in WITHOUT_EFFECT.read_text().split("\n\n"):
        lines = [line.strip() for line in block.splitlines() if not line.startswith("#")]
        if not lines:
            continue
        file, line, broken, *reason = lines
        line, broken = line.removeprefix("-").strip(), broken.removeprefix("+").strip()
        if not reason or line not in map(str.strip, (TREE / file).read_text().splitlines()):
            sys.exit(f"{WITHOUT_EFFECT.name}: {file} has no such line, or the reason is missing: {line}")
        listed.add((file, line, broken))
    return listed


def line_at(text, position):
    """The number of a line and its text without the blanks around it."""
    number = text.count("\n", 0, position)
    return number + 1, text.splitlines()[number].strip()


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--count", type=int, default=200)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--least", type=float, default=95)
    parser.add_argument("--only", type=lambda text: [int(number) for number in text.split(",")])
    parser.add_argument("folders", nargs="*", default=["util", "settings"])
    options = parser.parse_args()

    copy_tree()
    subprocess.run(["cmake", "--preset", "dev", "-B", BUILD, "-DTARVEN_WARNINGS_AS_ERRORS=OFF"], cwd=TREE, check=True,
                   stdout=subprocess.DEVNULL)
    programs = test_programs()
    if not build(*programs) or not all(passes(name) for name in programs):
        sys.exit("The tests fail without a break already.")

    without_effect = breaks_without_effect()
    candidates = [(path, *candidate)
                  for folder in options.folders
                  for path in sorted((TREE / folder).glob("*.cpp")) + sorted((TREE / folder).glob("*.h"))
                  for candidate in breaks_of(path.read_text())]
    random.Random(options.seed).shuffle(candidates)
    candidates = list(enumerate(candidates))
    if options.only:
        candidates = [candidates[number] for number in options.only]

    tried = noticed = harmless = 0
    for number, (path, start, end, replacement) in candidates:
        if tried == options.count:
            break
        text = path.read_text()
        broken_text = text[:start] + replacement + text[end:]
        path.write_text(broken_text)
        result = is_noticed(path, programs)
        path.write_text(text)
        if result is None:
            continue
        tried += 1
        if result:
            noticed += 1
            continue
        file = str(path.relative_to(TREE))
        line_number, line = line_at(text, start)
        broken = line_at(broken_text, start)[1]
        is_harmless = (file, line, broken) in without_effect
        harmless += is_harmless
        print(f"{number}: {file}:{line_number}{', without effect' if is_harmless else ''}\n"
              f"    - {line}\n    + {broken}", flush=True)
    share = 100 * noticed / max(tried - harmless, 1)
    print(f"{tried} breaks, {noticed} noticed, {harmless} without effect: {share:.1f} % of the others")
    sys.exit(0 if share >= options.least else 1)


main()

#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks that what the documents name is there.

usage: check_names.py [ROOT]

In every *.md file of the tree:

    [text](target)        the file is there, and the heading if one is named
    `folder/file.ext`     so is this one, from the root or beside the document; "*" stands for any text
    `PREFIX_Name`         a public header declares it; `PREFIX_` stands for all that begin with it
    other names in code, of which some part is in mixed case or has "_" or "::"
                          some source of the tree has every part of it as a word
    --preset NAME, scripts/NAME
                          the preset, the script is there, in blocks of code too

FOLDER and NAME in a path stand for anything. A changelog may name what is gone. Pictures that
scripts/docs.sh draws have to be newer than their sources, and docs/architecture.md has to name every
public header.

Prints "file:line: what is wrong" and exits with 1, or prints one summary line and exits with 0.
"""

import fnmatch
import json
import os
import pathlib
import re
import subprocess
import sys

FOLDERS_OF_NO_INTEREST = {".git", "build", "node_modules"}
# Where things lie that are made or installed, not kept.
MADE = ("build/", "bin/", "lib/", "include/", "share/")
NAMES_OF_THE_PAST = {"CHANGELOG.md"}
SOURCES = {".c", ".cmake", ".cpp", ".def", ".h", ".json", ".py", ".sh", ".tbd", ".txt"}

PREFIXED = re.compile(r"(?:UTIL|DYNBUFFER|SYS|XML|HKEY|PROBELIB|MBOLT|MBOLTARM)_\w*")
IDENTIFIER = re.compile(r"_?[A-Za-z]\w*(?:::\w+)*(?:\(\))?")
HAS_A_SHAPE = re.compile(r"::|_|[a-z][A-Z]")
FILE_NAME = re.compile(r"[\w.*+-]*\.(?:cmake|cpp|c|def|dot|dox|h|json|md|py|sh|svg|txt|yml)")
PATH = re.compile(r"[\w.*+-]+(?:/[\w.*+-]*)+")
LINK = re.compile(r"\[[^\]]*\]\(([^)\s]+)\)")
CODE = re.compile(r"`((?:[^`\n]|\n(?!\n))+)`")
SCRIPT = re.compile(r"(?<![\w/.])(?:scripts|\.ci)/[\w.]+")
PRESET = re.compile(r"--preset[ =]([\w-]+)")
LAYERS = ("probe/", "settings/", "sys/", "util/")
PUBLIC = 'extern "C"'


class Tree:
    """What the documents may name."""

    def __init__(self, root):
        self.root = root
        self.files = sorted(self.walk())
        self.folders = {str(parent) for name in self.files for parent in pathlib.PurePath(name).parents}
        self.base_names = {name.rpartition("/")[2] for name in self.files}
        presets = json.loads((root / "CMakePresets.json").read_text(encoding="utf-8"))
        self.presets = {preset["name"] for preset in presets["configurePresets"]}
        self.headers = [name for name in self.files
                        if name.endswith(".h") and name.startswith(LAYERS) and PUBLIC in self.text(name)]
        self.declared = self.words_of(self.headers)
        self.words = self.words_of(name for name in self.files
                                   if pathlib.PurePath(name).suffix in SOURCES)

    def walk(self):
        for folder, folders, names in os.walk(self.root):
            folders[:] = [name for name in folders if name not in FOLDERS_OF_NO_INTEREST]
            for name in names:
                yield os.path.relpath(os.path.join(folder, name), self.root)

    def text(self, name):
        return (self.root / name).read_text(encoding="utf-8", errors="replace")

    def words_of(self, names):
        return {word for name in names for word in re.findall(r"\w+", self.text(name))}

    def has_path(self, path, document):
        beside = os.path.normpath(os.path.join(os.path.dirname(document), path))
        return any(fnmatch.filter(self.files, candidate) or candidate in self.folders
                   for candidate in (path.rstrip("/").removeprefix("tarven/"), beside))


# ---- Names ----

def wrong_path(tree, path, document):
    if re.search(r"\b(?:FOLDER|NAME)(?:\b|_)", path):
        return None
    if path.startswith(MADE) or path.rstrip("/") in [folder.rstrip("/") for folder in MADE]:
        return None
    if "/" not in path:
        return None if fnmatch.filter(tree.base_names, path) else "no file has this name"
    return None if tree.has_path(path, document) else "there is no such file"


def wrong_name(tree, name):
    if PREFIXED.fullmatch(name):
        is_family = name.endswith("_") and any(word.startswith(name) for word in tree.declared)
        return None if is_family or name in tree.declared else "no public header declares it"
    missing = [word for word in name.removesuffix("()").split("::") if word not in tree.words]
    return f"no source has the word {missing[0]}" if missing else None


def wrong_code(tree, code, document):
    """What is wrong with a text between backticks, or None."""
    name = code.removesuffix("()")
    if code.startswith("-") or " " in code or "\n" in code:
        return None
    if code.strip("<>") in tree.files or FILE_NAME.fullmatch(code):
        return wrong_path(tree, code, document)
    if PATH.fullmatch(code.strip("<>")):
        return wrong_path(tree, code.strip("<>"), document)
    if PREFIXED.fullmatch(name) or (IDENTIFIER.fullmatch(code) and HAS_A_SHAPE.search(code)):
        return wrong_name(tree, name)
    return None


def wrong_link(tree, target, document):
    if re.match(r"\w+:", target):
        return None
    path, _, heading = target.partition("#")
    file = os.path.normpath(os.path.join(os.path.dirname(document), path)) if path else document
    if file not in tree.files and file not in tree.folders:
        return "there is no such file"
    if heading and heading not in headings(tree.text(file)):
        return "there is no such heading"
    return None


def headings(text):
    """The headings of a document, as links name them."""
    for title in re.findall(r"^#+ (.*)$", text, re.MULTILINE):
        yield re.sub(r"[^\w -]", "", title.lower()).replace(" ", "-")


# ---- Documents ----

def without_blocks(text):
    """The text with every block of code emptied, line by line."""
    return re.sub(r"^```.*?^```$", lambda block: "\n" * block[0].count("\n"), text,
                  flags=re.DOTALL | re.MULTILINE)


def wrong_in(tree, document):
    """Yields (line, what is named, what is wrong with it) of a document."""
    text = tree.text(document)
    for number, line in enumerate(text.splitlines(), 1):
        for name in SCRIPT.findall(line):
            if name.rstrip(".") not in tree.files:
                yield number, name, "there is no such script"
        for name in PRESET.findall(line):
            if name not in tree.presets:
                yield number, name, "there is no such preset"
    names_the_past = os.path.basename(document) in NAMES_OF_THE_PAST
    text = without_blocks(text)
    for link in LINK.finditer(text):
        yield line_of(link), link[1], wrong_link(tree, link[1], document)
    for code in CODE.finditer(text) if not names_the_past else ():
        yield line_of(code), code[1], wrong_code(tree, code[1], document)


def line_of(match):
    return match.string.count("\n", 0, match.start()) + 1


def wrong_pictures(tree):
    for source in fnmatch.filter(tree.files, "docs/*.dot"):
        picture = source.removesuffix(".dot") + ".svg"
        with open(tree.root / source, "rb") as file:
            sums = subprocess.run(["cksum"], stdin=file, check=True, capture_output=True, text=True)
        mark = f"drawn from {os.path.basename(source)}, {sums.stdout.strip()} "
        if picture not in tree.files or mark not in tree.text(picture):
            yield f"{picture}:1: older than {source}; run scripts/docs.sh"


def main(arguments):
    root = pathlib.Path(arguments[0] if arguments else pathlib.Path(__file__).resolve().parents[2])
    tree = Tree(root)
    documents = fnmatch.filter(tree.files, "*.md")
    wrong = [f"{document}:{number}: {name}: {what}" for document in documents
             for number, name, what in wrong_in(tree, document) if what]
    wrong += wrong_pictures(tree)
    overview = tree.text("docs/architecture.md")
    wrong += [f"docs/architecture.md:1: {header} is not in it" for header in tree.headers
              if f"`{header}`" not in overview]
    if wrong or not documents or not tree.headers:
        print("\n".join(wrong) or f"{root}: no documents or no headers to check")
        return 1
    print(f"{len(documents)} documents checked: what they name is there.")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Shows a public header to doxygen in doxygen's own style; the header stays as plain C.

usage: doxygen_filter.py HEADER

The comments of the headers are written for people: a block before a declaration, or before several
that follow each other directly; a comment behind a field; "---- titles ----"; the header's own
comment on top. This script prints the same lines with doxygen's marks on them:

    the comment on top             a group of the reference, named after folder and header
    a title                        a part of that group
    "name   what it is for"        @param, over a function
    "Returns ..."                  @return, where it begins a paragraph but the first
    other columns and indentation  verbatim

It adds no line and takes none away, so that doxygen's warnings name the header's own lines. Of the
probe's interface only the comment on top is kept, with a table of the functions that stand below it.
"""

import pathlib
import re
import sys
import textwrap

PROBE_INTERFACE = "mbolt_api.h"

TITLE = re.compile(r"^---- (.*?) ----(?: \*/)?$")
COLUMNS = re.compile(r"^(\w+(?:, \w+)*) {2,}(?=\S)")
NAMES = re.compile(r"^\w+(?:, \w+)+$")
FIELD_COMMENT = re.compile(r"^(\s+\S.*)/\* (.*) \*/$")
NOT_A_DECLARATION = re.compile(r'$|#(?!define)|extern "C"|}|\s')
DECLARED_NAME = re.compile(r"^#define (\w+)|\(\*(\w+)\)\(|(\w+)\(|(\w+)(?:\[\w+\])?;")
ENTRY_POINT = re.compile(r"^intptr_t (\w+)\((.*)\);$")
QUOTED = re.compile(r'("[^"]*")')
SPECIAL = re.compile(r"([\\<>%#@&*])")


def escaped(text):
    """Text that doxygen shows as it stands. It looks for nothing between double quotes."""
    parts = QUOTED.split(text)
    parts[::2] = [SPECIAL.sub(r"\\\1", part) for part in parts[::2]]
    return "".join(parts).replace("e.g. ", "e.g.\\ ")


# ---- Comments ----

def verbatim(block):
    """Lines that keep their columns. Doxygen takes away the first one's indentation."""
    if not block:
        return []
    lines = textwrap.dedent("\n".join(block)).split("\n")
    lines[0] = "@verbatim " + lines[0]
    lines[-1] += " @endverbatim"
    return lines


def parameter_shown(line):
    """A line of a list of parameters."""
    columns = COLUMNS.match(line)
    if columns:
        return f"@param {columns[1].replace(', ', ',')} {escaped(line[columns.end():])}"
    if NAMES.match(line):
        return f"@param {line.replace(', ', ',')}"
    return escaped(line.strip())


def text_shown(paragraph):
    """A paragraph of whole sentences, which may hold indented lines and lists."""
    shown, block, is_list = [], [], False
    for line in paragraph:
        is_list = line.startswith("  - ") or (is_list and line.startswith("    "))
        if line.startswith("  ") and not is_list:
            block.append(line)
            continue
        shown += verbatim(block) + [escaped(line)]
        block = []
    return shown + verbatim(block)


def paragraph_shown(paragraph, is_of_function):
    if not paragraph:
        return []
    columns = COLUMNS.match(paragraph[0]) or NAMES.match(paragraph[0])
    if not columns:
        return text_shown(paragraph)
    if is_of_function:
        return [parameter_shown(line) for line in paragraph]
    return verbatim(paragraph)


def comment_shown(lines, is_of_function=False):
    """The lines of a comment's text as doxygen takes them."""
    shown, paragraph = [], []
    for line in lines + [""]:
        if line.strip():
            paragraph.append(line)
            continue
        part = paragraph_shown(paragraph, is_of_function)
        if shown and part:
            part[0] = re.sub(r"^Returns? ", "@return ", part[0])
        shown += part + [""]
        paragraph = []
    return shown[:-1]


def marked(lines):
    """A comment of these lines. Stars in front of them would show in verbatim ones."""
    return "/** " + "\n".join(lines) + " */"


# ---- Headers ----

def blocks(text):
    """Splits a header into (is it a comment, its lines), one for each comment and each other line."""
    lines = iter(text.splitlines())
    for line in lines:
        if not line.startswith("/*"):
            yield False, [line]
            continue
        comment = [line[3:]]
        while "*/" not in line:
            line = next(lines)
            comment.append(line[3:])
        comment[-1] = comment[-1].rpartition("*/")[0].rstrip()
        yield True, comment


class Header:
    """One header on its way to doxygen."""

    def __init__(self, path):
        self.folder, self.name = path.resolve().parent.name, path.stem
        # Without the line of the licence and the blank one below it.
        self.blocks = list(blocks(path.read_text(encoding="utf-8")))[2:]
        self.is_in_part = False
        self.described = None  # the first of the declarations that follow each other directly

    def group_start(self, comment, contents):
        """The comment on top, of which the first words are the title."""
        title = re.split(r"[:.](?:\s|$)", " ".join(comment), maxsplit=1)[0]
        lines = [f"@defgroup {self.folder}_{self.name} {escaped(title)}", f"@ingroup {self.folder}"]
        return "/** @file */ " + marked(lines + comment_shown(comment) + contents + ["@{"])

    def part_start(self, title, comment):
        end = "/** @} */ " if self.is_in_part else ""
        self.is_in_part = True
        return end + marked([f"@name {escaped(title)}"] + comment_shown(comment)) + " /** @{ */"

    def declaration_at(self, index):
        """The declaration that starts there, up to its end or to the fields, as one line."""
        text = ""
        for _, lines in self.blocks[index:]:
            text += lines[0] + " "
            if lines[0].endswith((";", "{")) or lines[0].startswith("#"):
                break
        return text

    def text_alone_at(self, index):
        """The comment that stands alone behind a title, or nothing."""
        following = self.blocks[index + 1:index + 4]
        if [is_comment for is_comment, _ in following] == [False, True, False]:
            blank, (_, comment), end = following
            if blank[1] == end[1] == [""]:
                return comment
        return []

    def comment_at(self, index, comment):
        title = TITLE.match(comment[0])
        if title:
            alone = self.text_alone_at(index)
            if alone:
                del self.blocks[index + 1:index + 3]
                alone = [""] + alone
            return self.part_start(title[1], comment[1:] + alone)
        self.described = ""
        declaration = self.declaration_at(index + 1)
        is_of_function = "(" in declaration and not declaration.startswith(("#", "typedef", "extern"))
        return marked(comment_shown(comment, is_of_function))

    def line_at(self, index, line):
        if not line:
            self.described = None
        field = FIELD_COMMENT.match(line)
        if field:
            return f"{field[1]}/**< {escaped(field[2])} */"
        if self.described is None or NOT_A_DECLARATION.match(line):
            return line
        if self.described:
            return f"/** @copydoc {self.described} */ {line}"
        name = DECLARED_NAME.search(self.declaration_at(index))
        self.described = next(filter(None, name.groups())) if name else None
        return line

    def shown(self, contents=()):
        """The header for doxygen. The comment on top grows by the three lines of the guard."""
        yield from ["", ""]
        yield self.group_start(self.blocks[0][1], list(contents))
        if contents:
            yield "/** @} */"
            return
        index = 4
        while index < len(self.blocks) - 1:
            is_comment, lines = self.blocks[index]
            yield self.comment_at(index, lines) if is_comment else self.line_at(index, lines[0])
            index += 1
        yield "/** @} */" * (1 + self.is_in_part)


def table_of_functions(header):
    """The functions of the probe, by family, with the number of their arguments."""
    yield "<table><caption>Functions and how many arguments they take</caption>"
    for is_comment, lines in header.blocks[1:]:
        title, entry = TITLE.match(lines[0]), ENTRY_POINT.match(lines[0])
        if is_comment and title:
            yield f'<tr><th colspan="2">{escaped(title[1])}</th></tr>'
        elif entry:
            count = entry[2].count("uintptr_t")
            yield f"<tr><td>@anchor {entry[1]} {entry[1]}</td><td>{count}</td></tr>"
    yield "</table>"


def main():
    path = pathlib.Path(sys.argv[1])
    header = Header(path)
    contents = table_of_functions(header) if path.name == PROBE_INTERFACE else ()
    print("\n".join(header.shown(contents)))


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Holds the reference that doxygen made against the public headers and the libraries' names.

usage: check_reference.py FOLDER HEADER...

FOLDER has doxygen's output, html and xml. Doxygen itself stops at a function without a comment; this
looks at what it keeps quiet about: names that the reference lacks, values of enumerations that are
not described, words of comments that got lost on the way to the page, and links that lead nowhere.
"""

import html
import pathlib
import re
import sys
import xml.etree.ElementTree

ROOT = pathlib.Path(__file__).resolve().parents[1]
COMMENT = re.compile(r"/\*(.*?)\*/", re.DOTALL)
LINK = re.compile(r'(?:href|src)="([^"#:]+\.(?:html|md|png|svg))["#]')


def expected_names():
    """Everything that the libraries offer by name."""
    for path in (ROOT / "tests" / "exports").glob("*.txt"):
        yield from path.read_text(encoding="utf-8").split()
    entry_points = (ROOT / "probe" / "entry_points.def").read_text(encoding="utf-8")
    yield from re.findall(r"^ENTRY_POINT\((\w+),", entry_points, re.MULTILINE)


def is_described(element):
    return any("".join(element.find(kind).itertext()).strip()
               for kind in ("briefdescription", "detaileddescription"))


def names_and_gaps(folder):
    """The names that the reference has, and those of them that it does not describe."""
    names, gaps = set(), set()
    for path in (folder / "xml").glob("*.xml"):
        tree = xml.etree.ElementTree.parse(path)
        for member in tree.iter("memberdef"):
            values = member.findall("enumvalue")
            names.update(element.findtext("name") for element in [member, *values])
            # What is said of an enumeration of one value is said of the value.
            gaps.update(f"{path.name}: {element.findtext('name')} is not described"
                        for element in [member, *values[len(values) == 1:]]
                        if not is_described(element))
        names.update(anchor.get("id").removeprefix(f"{path.stem}_1") for anchor in tree.iter("anchor"))
    return names, gaps


def page_text(path):
    return html.unescape(re.sub(r"<[^>]+>", "", path.read_text(encoding="utf-8")))


def lost_words(header, folder):
    """The words of a header's comments that stand neither on its page nor on one of a record."""
    name = "_".join(pathlib.Path(header).with_suffix("").parts[-2:]).replace("_", "__")
    pages = [folder / "html" / f"group__{name}.html", *(folder / "html").glob("struct*.html")]
    shown = set("".join(map(page_text, pages)).split())
    _, *comments = COMMENT.findall((ROOT / header).read_text(encoding="utf-8"))
    for comment in comments:
        for word in re.sub(r"^ \*", "", comment, flags=re.MULTILINE).split():
            bare = word.strip(".,;:()\"-")
            if bare and not any(bare in other for other in ({word, bare} & shown or shown)):
                yield f"{header}: \"{word}\" got lost"


def dead_links(folder):
    for page in folder.glob("*.html"):
        for target in LINK.findall(page.read_text(encoding="utf-8")):
            if not (folder / target).exists():
                yield f"{page.name}: {target} is not there"


def main():
    folder, *headers = sys.argv[1:]
    folder = pathlib.Path(folder)
    names, wrong = names_and_gaps(folder)
    expected = set(expected_names())
    wrong |= {f"{name} is missing in the reference" for name in expected - names}
    wrong |= {line for header in headers for line in lost_words(header, folder)}
    wrong |= set(dead_links(folder / "html"))
    if wrong or not expected or not headers:
        print("\n".join(sorted(wrong)) or "There is nothing to look for.")
        return 1
    print(f"{len(expected)} names of {len(headers)} headers in {folder}/html/index.html")
    return 0


if __name__ == "__main__":
    sys.exit(main())

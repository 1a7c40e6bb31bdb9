#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Rewrites .tar.gz files with their entries in the order of their names, and without a time of
compression: the same content becomes the same bytes, whatever order a folder lists its files in.

usage: sort_archive.py ARCHIVE...
"""

import gzip
import pathlib
import sys
import tarfile


def sort_archive(path):
    sorted_path = path.with_name(path.name + ".sorted")
    with tarfile.open(path) as source, open(sorted_path, "wb") as file:
        with gzip.GzipFile(filename="", mode="wb", fileobj=file, mtime=0) as packed, \
                tarfile.open(fileobj=packed, mode="w") as target:
            for entry in sorted(source.getmembers(), key=lambda entry: entry.name):
                target.addfile(entry, source.extractfile(entry) if entry.isreg() else None)
    sorted_path.replace(path)


def main(arguments):
    if not arguments:
        sys.exit(__doc__)
    for argument in arguments:
        sort_archive(pathlib.Path(argument))


main(sys.argv[1:])

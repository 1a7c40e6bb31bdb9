#!/bin/sh
# SPDX-License-Identifier: MIT
# Makes the reference of the public headers, build/docs/html/index.html, and draws the pictures of the
# documents anew where their sources have changed. Fails when something public is not described.
set -eu

root=$(CDPATH= cd -- "$(dirname -- "$0")/.." && pwd)
"$root/scripts/setup.sh" docs
cd "$root"

# A picture names the source that it was drawn from, so that tests/docs/check_names.py can tell without
# dot whether it is up to date: another version of dot draws another picture of the same source.
draw() {
    source=$1
    picture=${source%.dot}.svg
    sum="drawn from ${source##*/}, $(cksum <"$source")"
    grep -qF "$sum" "$picture" 2>/dev/null && return
    dot -Tsvg "$source" | sed "s|^<svg |<!-- $sum -->\\n&|" >"$picture.new"
    mv "$picture.new" "$picture"
    echo "$picture is drawn anew."
}
for source in docs/*.dot; do draw "$source"; done

# The public headers are those that C can call.
headers=$(grep -l 'extern "C"' util/*.h sys/*.h settings/*.h probe/*.h)
rm -rf build/docs
mkdir -p build/docs
{
    cat docs/Doxyfile
    echo OUTPUT_DIRECTORY = build/docs
    echo INPUT = docs/reference.dox docs/*.md *.md $headers
} | doxygen -
python3 docs/check_reference.py build/docs $headers

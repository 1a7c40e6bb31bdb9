#!/bin/sh
# SPDX-License-Identifier: MIT
# Runs all tests with coverage counters and tells how many lines and branches they reach; fails below
# 98 % of the lines and 90 % of the branches of client, probe, settings and util, 95 % and 85 % of sys.
#
#   scripts/coverage.sh         the figures, and build/coverage/report/index.html line by line
#
# Not counted: what belongs to other systems or processors and is not built here.
set -eu

root=$(CDPATH= cd -- "$(dirname -- "$0")/.." && pwd)
cd "$root"
scripts/setup.sh coverage
# What earlier builds have left would be counted too.
folder=build/coverage
rm -rf "$folder"
scripts/build.sh coverage
ctest --preset coverage -j "$(getconf _NPROCESSORS_ONLN)" >"$folder/tests.log" 2>&1 || {
    cat "$folder/tests.log" >&2
    exit 1
}

# A branch that an exception takes is none of ours: the product is compiled without them.
report() {
    gcovr --root "$root" --object-directory "$folder" --gcov-ignore-parse-errors \
        --exclude-throw-branches --exclude-unreachable-branches "$@"
}

failed=
# check FOLDER LINES BRANCHES: the least shares, in percent.
check() {
    report --filter "$1/" --print-summary --fail-under-line "$2" --fail-under-branch "$3" \
        --output "$folder/$1.txt" >"$folder/$1.summary" 2>/dev/null || failed="$failed $1"
    printf '%-9s %s\n' "$1" "$(grep -E '^(lines|branches)' "$folder/$1.summary" | tr '\n' ' ')"
}
for part in client probe settings util; do check "$part" 98 90; done
check sys 95 85

mkdir -p "$folder/report"
report --filter '(client|probe|settings|sys|util)/' --html-details "$folder/report/index.html"
[ -z "$failed" ] || {
    echo "Too little is reached of:$failed" >&2
    exit 1
}

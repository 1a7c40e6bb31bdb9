#!/bin/sh
# SPDX-License-Identifier: MIT
# Formats every C and C++ file that git knows; with --check changes nothing and fails on differences.
set -eu

root=$(CDPATH= cd -- "$(dirname -- "$0")/.." && pwd)
cd "$root"
mode=-i
[ "${1-}" != --check ] || mode="--dry-run -Werror"
git ls-files -z -- '*.c' '*.cpp' '*.h' | xargs -0 clang-format $mode

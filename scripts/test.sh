#!/bin/sh
# Builds everything with sanitizers and runs all tests.
#
#   scripts/test.sh [CTEST-OPTION...]     e.g. scripts/test.sh -R SysSocket
set -eu

root=$(CDPATH= cd -- "$(dirname -- "$0")/.." && pwd)
"$root/scripts/setup.sh" test
"$root/scripts/build.sh" dev
cd "$root"
exec ctest --preset dev -j "$(getconf _NPROCESSORS_ONLN)" "$@"

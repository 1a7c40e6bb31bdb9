#!/bin/sh
# SPDX-License-Identifier: MIT
# Builds everything with sanitizers and runs all tests.
#
#   scripts/test.sh [CTEST-OPTION...]   e.g. scripts/test.sh -R SysSocket
#   scripts/test.sh --help              shows this text (also -h); CTest's options are "ctest --help"
#
# BUILD_DIR names another folder to build in than build/dev.
set -eu

case ${1-} in
    -h | --help)
        sed -n '/^# SPDX/d;2,/^set /s/^# \{0,1\}//p' "$0"
        exit 0
        ;;
esac

root=$(CDPATH= cd -- "$(dirname -- "$0")/.." && pwd)
"$root/scripts/setup.sh" test
"$root/scripts/build.sh" dev
cd "$root"
processors=$(getconf _NPROCESSORS_ONLN)
if [ -z "${BUILD_DIR-}" ]; then
    exec ctest --preset dev -j "$processors" "$@"
else
    exec ctest --test-dir "$BUILD_DIR" --output-on-failure --no-tests=error -j "$processors" "$@"
fi

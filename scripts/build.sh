#!/bin/sh
# SPDX-License-Identifier: MIT
# Configures and builds one preset, quietly unless something fails.
#
#   scripts/build.sh PRESET [CMAKE-OPTION...]   e.g. scripts/build.sh release
#   scripts/build.sh --help                     shows this text (also -h)
#
# "cmake --list-presets" lists the presets. BUILD_DIR names another folder than build/PRESET.
set -eu

show_help() { sed -n '/^# SPDX/d;2,/^set /s/^# \{0,1\}//p' "$0"; }

fail() {
    printf 'build.sh: %s\n' "$2" >&2
    exit "$1"
}

case ${1-} in
    -h | --help)
        show_help
        exit 0
        ;;
    '' | -*) fail 2 "the first argument is a preset; --help says more" ;;
esac

command -v cmake >/dev/null || fail 1 "there is no cmake here; scripts/setup.sh installs it"

preset=$1
shift
root=$(CDPATH= cd -- "$(dirname -- "$0")/.." && pwd)
cd "$root"
folder=${BUILD_DIR:-build/$preset}
log=$folder/build.log
{ mkdir -p "$folder" && (: >"$log"); } 2>/dev/null ||
    fail 1 "cannot write in $folder; make it writable, or let BUILD_DIR name another folder"

# Says in a line why the configuration failed, where that is known; else shows all that was said.
explain_configuration() {
    if grep -Eq 'is not a full path and was not found|Could not find compiler set in' "$log"; then
        fail 1 "the compiler asked for is not here; install it, or let CC and CXX name another ($log says more)"
    elif grep -Eq 'No CMAKE_C(XX)?_COMPILER could be found' "$log"; then
        fail 1 "there is no C or C++ compiler here; scripts/setup.sh installs one, or let CC and CXX name yours"
    elif grep -q 'unable to find a build program' "$log"; then
        fail 1 "there is no ninja here; scripts/setup.sh installs it"
    fi
    cat "$log" >&2
    fail 1 "this was CMake's answer; scripts/setup.sh installs what a build takes"
}

cmake --preset "$preset" -B "$folder" "$@" >"$log" 2>&1 || explain_configuration

build() {
    # A preset may name what to build; another folder gets everything.
    if [ -z "${BUILD_DIR-}" ]; then cmake --build --preset "$preset"; else cmake --build "$folder"; fi
}
if ! build >>"$log" 2>&1; then
    cat "$log" >&2
    exit 1
fi

#!/bin/sh
# Configures and builds one preset, quietly unless something fails.
#
#   scripts/build.sh PRESET [CMAKE-OPTION...]
#
# BUILD_DIR names another folder than build/PRESET.
set -eu

preset=$1
shift
root=$(CDPATH= cd -- "$(dirname -- "$0")/.." && pwd)
cd "$root"
folder=${BUILD_DIR:-build/$preset}
mkdir -p "$folder"
log=$folder/build.log
build() {
    cmake --preset "$preset" -B "$folder" "$@" || return
    # A preset may name what to build; another folder gets everything.
    if [ -z "${BUILD_DIR-}" ]; then cmake --build --preset "$preset"; else cmake --build "$folder"; fi
}
if ! build "$@" >"$log" 2>&1; then
    cat "$log" >&2
    exit 1
fi

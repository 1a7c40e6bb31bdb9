#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the fuzzers and lets them search, as many at once as there are processors.
#
#   scripts/fuzz.sh [SECONDS [TARGET...]]     all targets for 60 seconds of processor time each, unless
#                                             told otherwise
#
# A target starts from its seeds in fuzz/corpora and from what earlier runs have added in
# build/fuzz/corpora. An input that brings it down goes to build/fuzz/findings; the script prints how
# to run it again and fails.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-60}
shift || true
[[ $seconds =~ ^[1-9][0-9]*$ ]] || {
    echo "usage: scripts/fuzz.sh [SECONDS [TARGET...]]" >&2
    exit 2
}
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
    targets=(fuzz/*_fuzz.cpp)
    targets=("${targets[@]##*/}")
    targets=("${targets[@]%_fuzz.cpp}")
fi
for target in "${targets[@]}"; do
    [ -f "fuzz/${target}_fuzz.cpp" ] || {
        echo "There is no target $target in fuzz/." >&2
        exit 2
    }
done

scripts/setup.sh fuzz
scripts/build.sh fuzz

# Homes of the settings' target: in memory where that can be had.
memory=/dev/shm
[ -w "$memory" ] || memory=${TMPDIR:-/tmp}
homes=$(mktemp -d "$memory/fuzz.XXXXXX")
trap 'kill $(jobs -p) 2>/dev/null || true; wait; rm -rf "$homes"' EXIT

# search TARGET: becomes the fuzzer, which says what it says to a log.
search() {
    local corpus=build/fuzz/corpora/$1 findings=build/fuzz/findings/$1
    local options=()
    mkdir -p "$corpus" "$findings"
    [ ! -f "fuzz/$1.dict" ] || options=("-dict=fuzz/$1.dict")
    PROCESSOR_SECONDS=$seconds TMPDIR=$homes exec "build/fuzz/bin/$1_fuzz" "${options[@]}" -max_len=4096 \
        -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$findings/" \
        "$corpus" "fuzz/corpora/$1" >"build/fuzz/$1.log" 2>&1
}

# The number behind the last such word of a log.
last() { grep -oE "$2[ :]+[0-9]+" "$1" | tail -n 1 | grep -oE '[0-9]+$' || echo "?"; }

report() {
    local log=build/fuzz/$1.log
    printf '%-14s %6s s %11s executions %6s edges %6s inputs\n' "$1" "$seconds" \
        "$(last "$log" number_of_executed_units)" "$(last "$log" cov)" \
        "$(find "build/fuzz/corpora/$1" "fuzz/corpora/$1" -type f | wc -l)"
}

# What a run leaves behind when it fails, and how to see it fail again.
explain() {
    echo "$1 failed; build/fuzz/$1.log tells how:"
    grep -E -m 3 'ERROR:|does not hold|runtime error' "build/fuzz/$1.log" | sed 's/^/    /' || true
    find "build/fuzz/findings/$1" -type f -newer "$homes/start" | while read -r finding; do
        echo "    build/fuzz/bin/$1_fuzz $finding"
    done
}

touch "$homes/start"
searches=()
for target in "${targets[@]}"; do
    while [ "$(jobs -pr | wc -l)" -ge "$(getconf _NPROCESSORS_ONLN)" ]; do wait -n || true; done
    search "$target" &
    searches+=($!)
done

failed=()
for i in "${!targets[@]}"; do
    wait "${searches[i]}" || failed+=("${targets[i]}")
    report "${targets[i]}"
done
[ ${#failed[@]} -eq 0 ] || {
    for target in "${failed[@]}"; do explain "$target"; done
    exit 1
}

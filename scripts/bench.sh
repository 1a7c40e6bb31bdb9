#!/bin/sh
# Builds the benchmarks, optimised, and runs them: many short repetitions in a random order, of which
# the medians are told.
#
#   scripts/bench.sh [PROGRAM [BENCHMARK-OPTION...]]    e.g. scripts/bench.sh entry_points_bench
set -eu

root=$(CDPATH= cd -- "$(dirname -- "$0")/.." && pwd)
"$root/scripts/setup.sh" bench
"$root/scripts/build.sh" bench
program=${1:-*_bench}
[ $# -eq 0 ] || shift
for path in "$root"/build/bench/bin/$program; do
    "$path" --benchmark_repetitions=25 --benchmark_enable_random_interleaving=true \
        --benchmark_min_time=0.02 --benchmark_report_aggregates_only=true "$@"
done

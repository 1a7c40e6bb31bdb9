#!/bin/sh
# SPDX-License-Identifier: MIT
# Builds the benchmarks, optimised as for release, runs them and prints a Markdown table of ratios:
# this project's time over that of each rival, from the medians of many short repetitions in a
# random order.
#
#   scripts/bench.sh [FILTER]   e.g. scripts/bench.sh hexadecimal; a regular expression for the names
#                               of the benchmarks, "group, workload, who"
#   scripts/bench.sh --client   the client's measures instead: throughput, latency, size ...
#   scripts/bench.sh --all      both, and writes them into docs/performance.md and its plot
#   scripts/bench.sh --trial    both, once and short: shows that all of it runs, and no true figure
set -eu

root=$(CDPATH= cd -- "$(dirname -- "$0")/.." && pwd)
"$root/scripts/setup.sh" bench
"$root/scripts/build.sh" bench
folder=$root/build/bench
results=$folder/results
rm -rf "$results"
mkdir -p "$results"

# run_programs FILTER REPETITIONS SECONDS: the seconds are for one repetition of one benchmark.
run_programs() {
    for program in "$folder"/bin/*_bench; do
        "$program" --benchmark_filter="$1" --benchmark_repetitions="$2" \
            --benchmark_enable_random_interleaving=true --benchmark_min_time="$3" \
            --benchmark_out_format=json --benchmark_out="$results/${program##*/}.json" \
            >"$results/log" 2>&1 || {
            cat "$results/log" >&2
            exit 1
        }
    done
}

measure_client() { "$root/bench/client_measures.py" "$folder" "$results/client.json" "$@"; }

case ${1-} in
    --client)
        measure_client
        "$root/bench/report.py" client "$results"
        ;;
    --all)
        run_programs . 25 0.01
        measure_client
        "$root/bench/report.py" publish "$results" "$root/docs/performance.md"
        ;;
    --trial)
        run_programs . 1 0.0001
        measure_client 0.01
        "$root/bench/report.py" rows "$results"
        "$root/bench/report.py" client "$results"
        ;;
    *)
        run_programs "${1:-.}" 25 0.01
        "$root/bench/report.py" rows "$results"
        ;;
esac

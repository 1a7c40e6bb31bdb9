#!/bin/sh
# Builds the benchmarks, optimised as for release, runs them and prints a Markdown table of ratios:
# this project's time over that of each rival, from the medians of many short repetitions in a
# random order.
#
#   scripts/bench.sh [FILTER]    e.g. scripts/bench.sh 'hexadecimal'; a regular expression for the
#                                names of the benchmarks, "path/workload/who"
#   scripts/bench.sh --client    the client's measures instead: throughput, latency, size ...
#   scripts/bench.sh --all       both, and writes them into docs/performance.md and its plot
set -eu

root=$(CDPATH= cd -- "$(dirname -- "$0")/.." && pwd)
"$root/scripts/setup.sh" bench
"$root/scripts/build.sh" bench
results=$root/build/bench/results
rm -rf "$results"
mkdir -p "$results"

run_programs() {
    for program in "$root"/build/bench/bin/*_bench; do
        "$program" --benchmark_filter="$1" --benchmark_repetitions="${REPETITIONS:-25}" \
            --benchmark_enable_random_interleaving=true --benchmark_min_time=0.01 \
            --benchmark_out_format=json --benchmark_out="$results/${program##*/}.json" \
            >"$results/log" 2>&1 || {
            cat "$results/log" >&2
            exit 1
        }
    done
}

case ${1-} in
    --client)
        "$root/bench/client_measures.py" "$root/build/bench" "$results/client.json"
        "$root/bench/report.py" client "$results"
        ;;
    --all)
        run_programs .
        "$root/bench/client_measures.py" "$root/build/bench" "$results/client.json"
        "$root/bench/report.py" publish "$results" "$root/docs/performance.md"
        ;;
    *)
        run_programs "${1:-.}"
        "$root/bench/report.py" rows "$results"
        ;;
esac

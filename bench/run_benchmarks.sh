#!/usr/bin/env bash
# Runs every benchmark and compares what it measured with what is promised. A miss is told, not an error.
# usage: run_benchmarks.sh BIN_DIR
#   BENCH_REPETITIONS   how often everything is measured; the medians count (default 9, and 3 for whole jobs)
set -euo pipefail
bin=$(cd "$1" && pwd)
results=$(mktemp -d)
trap 'rm -rf "$results"' EXIT

# Repetitions of the programs' benchmarks alternate at random, so that a busy moment of the machine hits all alike.
for name in session guard progress image script; do
    "$bin/corrivane-$name-benchmark" \
        --benchmark_repetitions="${BENCH_REPETITIONS:-9}" --benchmark_enable_random_interleaving=true \
        --benchmark_min_time=0.1 --benchmark_report_aggregates_only=true \
        --benchmark_out="$results/$name.json" --benchmark_out_format=json
done
"$bin/corrivane-worker-benchmark" \
    --benchmark_repetitions="${BENCH_REPETITIONS:-3}" --benchmark_enable_random_interleaving=true \
    --benchmark_report_aggregates_only=true --benchmark_out="$results/worker.json" --benchmark_out_format=json
"$bin/corrivane-bench-summary" "$results"/*.json

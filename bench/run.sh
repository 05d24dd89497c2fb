#!/bin/sh
# Builds the benchmarks, runs them (every comparison interleaved inside one
# case, see bench/bench_util.h) and prints the table of medians and ratios.
#
#   bench/run.sh [extra Google Benchmark flags, e.g. --benchmark_filter=frame_nv21]
#
# Environment: QLSBP_BENCH_BUILD_DIR (default <repo>/build-bench),
# QLSBP_BENCH_MIN_TIME (seconds per repetition, default 0.5),
# QLSBP_BENCH_REPETITIONS (default 3; the table uses the median).
set -eu

root=$(cd "$(dirname "$0")/.." && pwd)
build=${QLSBP_BENCH_BUILD_DIR:-$root/build-bench}
min_time=${QLSBP_BENCH_MIN_TIME:-0.5}
reps=${QLSBP_BENCH_REPETITIONS:-3}

cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DQLSBP_BUILD_BENCH=ON \
  -DQLSBP_BUILD_TESTS=OFF -DQLSBP_BUILD_TOOLS=OFF >/dev/null
cmake --build "$build" --target qlsbp_bench -j2 >&2

out=$build/bench-results.json
"$build/bench/qlsbp_bench" --benchmark_min_time="$min_time" --benchmark_repetitions="$reps" \
  --benchmark_report_aggregates_only=true --benchmark_out_format=json \
  --benchmark_out="$out" "$@" >&2
python3 "$root/bench/ratios.py" "$out"

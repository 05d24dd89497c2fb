#!/bin/sh
# Builds the benchmarks, runs them (ours and the peers in one run, then ours
# again on the scalar kernels) and prints the tables of time ratios.
#
#   bench/run.sh [extra Google Benchmark flags]
#
# Environment: QLSBP_BENCH_BUILD_DIR (default <repo>/build-bench),
# QLSBP_BENCH_MIN_TIME (seconds per repetition, default 0.1),
# QLSBP_BENCH_REPETITIONS (default 5; the tables use the median).
set -eu

root=$(cd "$(dirname "$0")/.." && pwd)
build=${QLSBP_BENCH_BUILD_DIR:-$root/build-bench}
min_time=${QLSBP_BENCH_MIN_TIME:-0.1}
reps=${QLSBP_BENCH_REPETITIONS:-5}

cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DQLSBP_BUILD_BENCH=ON \
  -DQLSBP_BUILD_TESTS=OFF -DQLSBP_BUILD_TOOLS=OFF >/dev/null
cmake --build "$build" --target qlsbp_bench -j2

bin=$build/bench/qlsbp_bench
out=$build/bench-results
mkdir -p "$out"
# Repetitions run interleaved in random order, so that a burst of load on a
# shared machine spreads over ours and the peers rather than hitting one side.
common="--benchmark_min_time=$min_time --benchmark_repetitions=$reps --benchmark_enable_random_interleaving=true --benchmark_report_aggregates_only=true --benchmark_out_format=json"

echo "== vector kernels and peers" >&2
# shellcheck disable=SC2086
"$bin" $common --benchmark_out="$out/vector.json" "$@" >&2
echo "== scalar kernels (QLSBP_FORCE_SCALAR=1), ours only" >&2
# shellcheck disable=SC2086
QLSBP_FORCE_SCALAR=1 "$bin" $common --benchmark_filter=':ours' \
  --benchmark_out="$out/scalar.json" "$@" >&2

python3 "$root/bench/ratios.py" "$out/vector.json" "$out/scalar.json"

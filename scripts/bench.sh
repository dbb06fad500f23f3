#!/bin/sh
# Sets up, builds the benchmarks (optimised, no sanitizers) and runs them.
# Extra arguments go to every benchmark program (for example --benchmark_filter=...).
set -eu
top=$(cd "$(dirname "$0")/.." && pwd)
"$top/scripts/setup.sh"
cmake -S "$top" -B "$top/build/bench" -G Ninja -DCMAKE_BUILD_TYPE=Release \
      -DBASEKEL_BUILD_TESTS=OFF -DBASEKEL_BUILD_EXAMPLES=OFF -DBASEKEL_BUILD_BENCH=ON >/dev/null
cmake --build "$top/build/bench"
for program in "$top"/build/bench/bin/basekel_bench_*; do
    [ -x "$program" ] || continue
    echo "== $(basename "$program")"
    "$program" "$@"
done

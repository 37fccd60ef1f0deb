#!/usr/bin/env bash
# Measures the module and the tool, and rewrites the tables of docs/performance.md. Slow. Arguments go to the
# benchmark program: options that override the ones below, hypergraph files (relative to the root of the repository).
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/setup.sh build bench partners
cmake --preset release -D QUILLON_BENCHMARKS=ON >/dev/null
cmake --build --preset release --target quillon_bench quillon_tool
results=build/release/bench/results.json
build/release/bench/quillon_bench --benchmark_out="$results" --benchmark_out_format=json \
  --tool build/release/tools/quillon --growth 128 "$@"
python3 bench/table.py "$results" docs/performance.md

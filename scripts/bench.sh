#!/usr/bin/env bash
# Measures the module and the tool, and rewrites the tables of docs/performance.md. Slow. Arguments go to the
# benchmark program: options that override the ones below, hypergraph files (relative to the root of the repository).
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/setup.sh build bench partners
cmake --preset release -D QUILLON_BENCHMARKS=ON >/dev/null
cmake --build --preset release --target quillon_bench quillon_tool
results=build/release/bench/results.json
reused=build/release/bench/reused.json
build/release/bench/quillon_bench --benchmark_out="$results" --benchmark_out_format=json \
  --tool build/release/tools/quillon --growth 128 "$@"
build/release/bench/quillon_bench --benchmark_out="$reused" --benchmark_out_format=json "$@" --reuse \
  --benchmark_filter='^(read_|construct_|set_hypergraph_infos|Copy(Perm)?ConsHypergraph|PermuteHypergraph)[^:]*(:check)?/'
python3 bench/table.py "$results" "$reused" docs/performance.md

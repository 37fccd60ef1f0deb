#!/usr/bin/env bash
# From a fresh machine to a report: installs missing packages, builds the tool, runs it on the hypergraphs in data/.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/setup.sh build
cmake --preset release -B build/demo -D QUILLON_TESTS=OFF -D QUILLON_BENCHMARKS=OFF -D QUILLON_STATIC_AND_SHARED=OFF >/dev/null
cmake --build build/demo
quillon=build/demo/tools/quillon

run() {
  printf '\n$ quillon %s\n' "$*"
  "$quillon" "$@"
}
run check data/davis.qhg data/lesmis.qhg data/mesh24.qhg
run stats data/davis.qhg
run stats --table --header data/davis.qhg data/lesmis.qhg data/mesh24.qhg

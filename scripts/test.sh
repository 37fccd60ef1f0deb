#!/usr/bin/env bash
# All tests, under the sanitizers and optimised, on a machine that may have nothing installed yet.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/setup.sh build test bench
for preset in dev release; do
  cmake --preset "$preset"
  cmake --build --preset "$preset"
done
for preset in dev release; do
  ctest --preset "$preset" --parallel "$(nproc)" --progress
done

#!/usr/bin/env bash
# Builds everything once, optimised and with assertions, and runs all tests; first installs missing packages. Skipped
# tests are listed before the summary.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/stage.sh setup scripts/setup.sh build test bench docs python
cmake --preset test >/dev/null
scripts/stage.sh build cmake --build --preset test
exec scripts/ctest.sh test

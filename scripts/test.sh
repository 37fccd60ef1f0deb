#!/usr/bin/env bash
# Builds everything once, optimised and with assertions, and runs all tests; first installs missing packages. Skipped
# tests are listed before the summary.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/stage.sh setup scripts/setup.sh build headers
scripts/setup.sh test docs python &  # during the build, which uses none of it
rest_of_setup=$!
cmake --preset test >/dev/null
scripts/stage.sh build cmake --build --preset test
wait $rest_of_setup
exec scripts/ctest.sh test

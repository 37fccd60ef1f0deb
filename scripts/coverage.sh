#!/usr/bin/env bash
# Prints which share of the lines and branches of the library the tests run. Leaves a page in build/coverage.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/setup.sh build test coverage
cmake --preset coverage >/dev/null
cmake --build --preset coverage
find build/coverage -name '*.gcda' -delete
ctest --preset coverage --parallel "$(nproc)" --progress >/dev/null
# The portable twin of util/ has other functions on the same lines, which gcovr cannot merge.
gcovr --root . --filter util/ --filter hypergraph/ --exclude-directories '.*portable_util_tests.*' --exclude-throw-branches \
  --html-details build/coverage/index.html --txt --print-summary "$@" build/coverage

#!/usr/bin/env bash
# Builds the test programs with the address and undefined-behaviour sanitizers and runs them, and the tool.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/setup.sh build test
cmake --preset dev >/dev/null
# Examples, benchmarks and the tests of builds and documents find nothing here that the plain build does not.
scripts/stage.sh "build, sanitizers" cmake --build --preset dev --target all_tests quillon_tool
scripts/stage.sh "tests, sanitizers" scripts/ctest.sh dev --exclude-regex '^(docs|build|examples|bench)\.'

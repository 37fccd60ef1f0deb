#!/usr/bin/env bash
# Builds the test programs and the tool with the address and undefined-behaviour sanitizers and runs their tests.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/setup.sh build test
cmake --preset dev >/dev/null
# Without the tests that run the same code as in the plain build: examples, benchmarks, builds, documents, and the
# comparison of the tool's output with other programs.
scripts/stage.sh "build, sanitizers" cmake --build --preset dev --target all_tests quillon_tool
scripts/stage.sh "tests, sanitizers" scripts/ctest.sh dev --exclude-regex '^(docs|build|examples|bench)\.|^tool\.(AgreesWithItsPartners|ReportsShowInABrowser)$'

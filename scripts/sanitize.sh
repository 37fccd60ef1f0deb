#!/usr/bin/env bash
# Builds the test programs, the tool and the fuzzers with the address and undefined-behaviour sanitizers and runs the
# tests. The fuzzers are for scripts/fuzz.sh: they link the same libraries.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/setup.sh build test fuzz
cmake --preset fuzz >/dev/null
scripts/stage.sh "build, sanitizers" cmake --build --preset fuzz --target all_tests quillon_tool fuzzers
# Without the tests that run the same code as in the plain build: documents, builds, and the comparison of the tool's
# output with other programs. scripts/fuzz.sh replays the inputs of the fuzzers.
scripts/stage.sh "tests, sanitizers" scripts/ctest.sh fuzz --exclude-regex \
  '^(docs|build|fuzz|endless_tests)\.|^tool\.(AgreesWithItsPartners|ReportsShowInABrowser)$'

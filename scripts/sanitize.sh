#!/usr/bin/env bash
# Builds the test programs and the fuzzers with the address and undefined-behaviour sanitizers and runs the tests. The
# fuzzers are for scripts/fuzz.sh: they link the same libraries.
#   sanitize.sh        the libraries
#   sanitize.sh --all  the tool too, and the tests that run it
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/setup.sh build test fuzz
cmake --preset fuzz >/dev/null
targets=(fuzzers util_tests portable_util_tests module_tests portable_module_tests fatal_tests error_tests measures_tests
  formats_tests lint_tests)
# Documents, builds, and the comparison of the tool's output with other programs run the same code as the plain build.
# scripts/fuzz.sh replays the inputs of the fuzzers.
excluded='^(docs|build|fuzz|endless_tests)\.|^tool\.(AgreesWithItsPartners|ReportsShowInABrowser)$'
if [ "${1:-}" = --all ]; then
  targets+=(all_tests quillon_tool)
else
  excluded+='|^tool\.|^(engine|report|tool)_tests'
fi
scripts/stage.sh "build, sanitizers" cmake --build --preset fuzz --target "${targets[@]}"
scripts/stage.sh "tests, sanitizers" scripts/ctest.sh fuzz --exclude-regex "$excluded"

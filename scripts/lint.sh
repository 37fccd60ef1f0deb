#!/usr/bin/env bash
# Layout, static analysis and the warnings of both compilers; anything found is an error.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/setup.sh build test lint
mapfile -t sources < <(git ls-files '*.cpp')
mapfile -t headers < <(git ls-files '*.h')
clang-format --dry-run --Werror "${sources[@]}" "${headers[@]}"

# Raw loops are as welcome as algorithms.
cppcheck --quiet --std=c++20 --language=c++ --enable=warning,style,performance,portability --inline-suppr -I. \
  --suppress=missingIncludeSystem --suppress=useStlAlgorithm --error-exitcode=1 hypergraph util formats measures tools

# The path analyser of gcc, which does not come to an end on hypergraph/io.cpp.
for source in util/*.cpp hypergraph/core.cpp hypergraph/diagnostics.cpp hypergraph/transform.cpp; do
  g++ -std=c++20 -I. -fanalyzer -Werror -c "$source" -o /dev/null
done

cmake --preset dev >/dev/null
# Of the ones left out there is no build with gcc and sanitizers. Where the command line is read, the path analyser
# follows what another library does with it.
parsers=(tools/cli/options.cpp tools/cli/main.cpp)
mapfile -t analysed < <(git ls-files '*.cpp' ':!tests/build' ':!bench' ':!examples/ptscotch' ':!fuzz' \
  "${parsers[@]/#/:!}")
run-clang-tidy -quiet -p build/dev -j "$(nproc)" "${analysed[@]}"
run-clang-tidy -quiet -p build/dev -j "$(nproc)" -checks='-clang-analyzer-*' "${parsers[@]}"
echo "lint: ${#sources[@]} sources and ${#headers[@]} headers are clean"

#!/usr/bin/env bash
# Layout and static analysis; any finding is an error.
#   lint.sh [SECONDS]  clang-tidy on the sources that a change affects (see affected.py). Sources not begun after
#                      SECONDS, by default 240, are listed and left to lint.sh --all
#   lint.sh --all      clang-tidy on all sources, and the path analyser of gcc
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/setup.sh build headers lint
mapfile -t sources < <(git ls-files '*.cpp')
mapfile -t headers < <(git ls-files '*.h')
scripts/stage.sh clang-format clang-format --dry-run --Werror "${sources[@]}" "${headers[@]}"

# Raw loops are as welcome as algorithms, and members that only an aggregate sets and reads are used. Compilers warn of
# what is shadowed, functions aside.
mapfile -t folders < <(ls -d hypergraph util formats measures tools python engines)
scripts/stage.sh cppcheck cppcheck -j "$(nproc)" --quiet --std=c++20 --language=c++ \
  --enable=warning,style,performance,portability --inline-suppr -I. --suppress=missingIncludeSystem \
  --suppress=useStlAlgorithm --suppress=shadowFunction --suppress=unusedStructMember --error-exitcode=1 "${folders[@]}"

# A build only for its list of commands: clang cannot read the precompiled headers of gcc, and the engines and the Python
# package are not built with sanitizers.
build=build/lint
cmake --preset dev -B $build -D QUILLON_SANITIZE= -D QUILLON_PYTHON=AUTO \
  -D CMAKE_DISABLE_PRECOMPILE_HEADERS=ON >/dev/null

skipped=$(mktemp)
trap 'rm -f "$skipped"' EXIT
export build skipped
tidy_one() {  # tidy_one SOURCE
  [ "$(date +%s)" -lt "$deadline" ] || { echo "$1" >>"$skipped" && return; }
  local options=(-extra-arg=-Wno-unknown-warning-option)  # the list of commands is for gcc
  # With CLI11, the path analyser reports its code.
  case $1 in tools/cli/options.cpp | tools/cli/program.cpp) options+=(-checks=-clang-analyzer-*) ;; esac
  clang-tidy -quiet -p $build "${options[@]}" "$1" 2>/dev/null || { echo "clang-tidy: $1" && return 1; }
}
export -f tidy_one
tidy() {  # tidy SECONDS: the sources of standard input
  export deadline=$(($(date +%s) + $1))
  # Omits sources that are not built with gcc. It is no error if none remain.
  { grep -vE '^(fuzz|tests/build)/' || true; } |
    { grep -Fxf <(sed -n "s|.*\"file\": \"$PWD/\(.*\)\",\?|\1|p" $build/compile_commands.json) || true; } |
    xargs -r -P "$(nproc)" -I{} bash -c 'tidy_one {}'
}
export -f tidy

if [ "${1:-}" = --all ]; then
  git ls-files '*.cpp' | scripts/stage.sh clang-tidy bash -euo pipefail -c 'tidy 100000'
  # It does not terminate on hypergraph/io.cpp.
  analyse() { printf '%s\n' "$@" | xargs -P "$(nproc)" -I{} g++ -std=c++20 -I. -fanalyzer -Werror -c {} -o /dev/null; }
  export -f analyse
  scripts/stage.sh "gcc -fanalyzer" bash -euo pipefail -c 'analyse "$@"' analyse util/*.cpp hypergraph/core.cpp \
    hypergraph/diagnostics.cpp hypergraph/transform.cpp
else
  scripts/affected.py | scripts/stage.sh clang-tidy bash -euo pipefail -c "tidy ${1:-240}"
  [ ! -s "$skipped" ] || { echo "Not analysed for lack of time:" && sed 's/^/  /' "$skipped"; }
fi
echo "lint: ${#sources[@]} sources and ${#headers[@]} headers, nothing found"

#!/usr/bin/env bash
# The library builds without a warning, and a planted one fails the build, with every compiler we name.
# Usage: warning_test.sh SOURCE_DIR COMPILER...
set -euo pipefail
source_dir=$1
shift
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

build() {  # build FOLDER COMPILER OPTION...
  cmake -S "$source_dir" --preset release -B "$1" -D CMAKE_CXX_COMPILER="$2" -D QUILLON_TESTS=OFF \
    -D QUILLON_TOOLS=OFF -D QUILLON_BENCHMARKS=OFF "${@:3}" >/dev/null && cmake --build "$1" >"$1/log" 2>&1
}

for compiler in "$@"; do
  build "$place/clean-$compiler" "$compiler" || { cat "$place/clean-$compiler/log"; exit 1; }
  planted="$place/planted-$compiler"
  if build "$planted" "$compiler" -D CMAKE_PROJECT_INCLUDE="$source_dir/tests/build/planted.cmake"; then
    echo "$compiler built a source that draws a warning" && exit 1
  fi
  grep -Eq 'planted\.cpp:3:.*error: .*conver' "$planted/log" || { cat "$planted/log"; exit 1; }
  echo "$compiler: clean, and refuses the planted warning"
done

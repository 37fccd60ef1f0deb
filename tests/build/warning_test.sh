#!/usr/bin/env bash
# A planted warning fails the build with each COMPILER. The builds for the tests and for the sanitizers, with one
# compiler each, show that the sources have no warnings.
# Usage: warning_test.sh SOURCE_DIR COMPILER...
set -euo pipefail
source_dir=$1
shift
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

for compiler in "$@"; do
  command -v "$compiler" >/dev/null || { echo "skipped: $compiler is not installed" && continue; }
  planted="$place/planted-$compiler"
  cmake -S "$source_dir" --preset dev -B "$planted" -D CMAKE_CXX_COMPILER="$compiler" -D CMAKE_CXX_COMPILER_LAUNCHER= \
    -D QUILLON_SANITIZE= -D QUILLON_STATIC_AND_SHARED=OFF -D QUILLON_TESTS=OFF -D QUILLON_TOOLS=OFF \
    -D CMAKE_PROJECT_INCLUDE="$source_dir/tests/build/planted.cmake" >/dev/null
  object=CMakeFiles/quillon_util_static.dir/tests/build/planted.cpp.o
  if cmake --build "$planted" --target $object >"$planted/log" 2>&1; then
    echo "$compiler built a source that draws a warning" && exit 1
  fi
  grep -Eq 'planted\.cpp:3:.*error: .*conver' "$planted/log" || { cat "$planted/log"; exit 1; }
  echo "$compiler refuses the planted warning"
done

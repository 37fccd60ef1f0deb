#!/usr/bin/env bash
# The library builds without a warning, and a planted warning fails the build, with each COMPILER.
# Usage: warning_test.sh SOURCE_DIR BUILT_WITH COMPILER...; the build that runs this test used BUILT_WITH, with
# warnings as errors: that compiler needs no second clean build
set -euo pipefail
source_dir=$1
built_with=$(realpath "$(command -v "$2")")
shift 2
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

configure() {  # configure FOLDER COMPILER OPTION...
  cmake -S "$source_dir" --preset dev -B "$1" -D CMAKE_CXX_COMPILER="$2" -D CMAKE_CXX_COMPILER_LAUNCHER= \
    -D QUILLON_SANITIZE= -D QUILLON_STATIC_AND_SHARED=OFF -D QUILLON_TESTS=OFF -D QUILLON_TOOLS=OFF "${@:3}" >/dev/null
}

for compiler in "$@"; do
  if [ "$(realpath "$(command -v "$compiler")")" != "$built_with" ]; then
    clean="$place/clean-$compiler"
    configure "$clean" "$compiler"
    cmake --build "$clean" >"$clean/log" 2>&1 || { cat "$clean/log"; exit 1; }
  fi
  planted="$place/planted-$compiler"
  configure "$planted" "$compiler" -D CMAKE_PROJECT_INCLUDE="$source_dir/tests/build/planted.cmake"
  object=CMakeFiles/quillon_util_static.dir/tests/build/planted.cpp.o
  if cmake --build "$planted" --target $object >"$planted/log" 2>&1; then
    echo "$compiler built a source that draws a warning" && exit 1
  fi
  grep -Eq 'planted\.cpp:3:.*error: .*conver' "$planted/log" || { cat "$planted/log"; exit 1; }
  echo "$compiler: clean, and refuses the planted warning"
done

#!/usr/bin/env bash
# Prints which share of the lines and branches the tests run, of the library and of the tool, and fails when it is less
# than it should be. With --library as the first argument only the library's, by its own tests, which is quick. Leaves
# pages in the build folder.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

library_tests=(util_tests module_tests fatal_tests)
scripts/setup.sh build test coverage
if [ "${1:-}" = --library ]; then
  build=build/coverage-library  # of its own: what is not built again would count with the lines of old sources
  cmake --preset coverage -B $build >/dev/null
  cmake --build $build --target "${library_tests[@]}"
  find $build -name '*.gcda' -delete
  for program in "${library_tests[@]}"; do
    (cd $build/tests && GTEST_BRIEF=1 "./$program" >/dev/null 2>&1)
  done
else
  build=build/coverage
  cmake --preset coverage >/dev/null
  cmake --build $build
  find $build -name '*.gcda' -delete
  # Those that limit the size of files would have the counters' own cut off.
  ctest --preset coverage --parallel "$(nproc)" --progress --exclude-regex 'DiskIsFull|LacksOneByte' >/dev/null
fi

# The portable twins have the same functions on other lines, which gcovr cannot merge.
report() {  # report NAME LINES BRANCHES FILTER...: the least shares, and whose
  local name=$1 lines=$2 branches=$3
  shift 3
  gcovr --root . "${@/#/--filter=}" --exclude-directories '.*portable_.*' --exclude-throw-branches \
    --html-details "$build/$name.html" --txt --print-summary \
    --fail-under-line "$lines" --fail-under-branch "$branches" $build
}
report library 99.7 95 util/ hypergraph/
[ "${1:-}" = --library ] || report tool 95 0 tools/

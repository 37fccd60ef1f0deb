#!/usr/bin/env bash
# Prints the share of lines and branches of the library and of the tool that the tests execute, and fails if it is
# below its floor. With --library as the first argument, only that of the library by its own tests, which is quick.
# Writes HTML pages into the build folder.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

library_tests=(util_tests module_tests fatal_tests)
scripts/setup.sh build test coverage
if [ "${1:-}" = --library ]; then
  build=build/coverage-library  # a separate folder: objects of older sources elsewhere would be counted too
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
  # Some tests limit the size of files, and thus of the coverage data: gcov reports it, and their counts are lost.
  ctest --preset coverage --parallel "$(nproc)" --output-on-failure
fi

# gcovr cannot merge the portable builds, in which the same functions have other lines.
report() {  # report NAME LINES BRANCHES FILTER...: the floors and their sources
  local name=$1 lines=$2 branches=$3
  shift 3
  gcovr --root . "${@/#/--filter=}" --exclude-directories '.*portable_.*' --exclude-throw-branches \
    --html-details "$build/$name.html" --txt --print-summary \
    --fail-under-line "$lines" --fail-under-branch "$branches" $build
}
report library 99.7 95 util/ hypergraph/
[ "${1:-}" = --library ] || report tool 95 0 tools/ formats/ measures/

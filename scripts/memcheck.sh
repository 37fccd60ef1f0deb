#!/usr/bin/env bash
# Runs all test programs under valgrind: an error or a leak is a failure. Needs about an hour.
# Arguments go to the test programs, e.g. --gtest_filter=Read*
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/setup.sh build test memcheck
cmake -G Ninja -S . -B build/memcheck -D CMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build/memcheck
# A child of a death test exits with blocks still held, which is no leak: children are silenced.
export GTEST_DEATH_TEST_STYLE=fast GTEST_BRIEF=1
# These count page faults or limit the address space, and valgrind itself would be counted or limited.
left_out=*.FillsLargeBlocksWithFewPageFaults:*.MovesALargeBlockWithoutCopyingIt:PoolsUnderALimit.*
status=0
for program in util_tests portable_util_tests module_tests portable_module_tests fatal_tests error_tests \
  measures_tests formats_tests report_tests tool_tests; do
  echo "$program"
  (cd build/memcheck/tests && valgrind --quiet --error-exitcode=99 --leak-check=full --show-leak-kinds=definite,indirect \
    --errors-for-leak-kinds=definite,indirect --child-silent-after-fork=yes --trace-children=yes \
    --trace-children-skip='*/bash,*/sh,*/gzip,*/python3' --suppressions=../../../tests/memcheck.supp \
    "./$program" "--gtest_filter=-$left_out" "$@") || status=1
done
[ "$status" -eq 0 ] && echo "memcheck: no errors, no leaks"
exit "$status"

#!/usr/bin/env bash
# Runs ctest and lists each skipped test case with its reason: ctest.sh PRESET [ARGUMENT...]
# The list comes before the summary of ctest, which ends the output.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
preset=$1
shift

skipped() {
  awk '
    /^[0-9]+\/[0-9]+ Testing: / { sub(/.* Testing: /, ""); test = $0 }
    / Skipped$/ { getline reason }
    /^\[  SKIPPED \] .*\)$/ { print "  " test ": " $4 ": " reason }  # gtest
    /^SKIPPED / { sub(/^SKIPPED /, ""); print "  " test ": " $0 }    # transcripts
    /^(.*: )?skipped[:,] / { print "  " test ": " $0 }               # scripts
  ' "build/$preset/Testing/Temporary/LastTest.log" | sort -u
}

# Memory is a quicker place for temporary files: removing one from a disk takes milliseconds.
room=$(df --output=avail --block-size=1G /dev/shm 2>/dev/null | tail -n 1 || echo 0)
[ "$room" -lt 2 ] || export TMPDIR=/dev/shm

status=0
summary=$(mktemp)
trap 'rm -f "$summary"' EXIT
# One test more than there are processors: some wait most of their time.
ctest --preset "$preset" --parallel "$(($(nproc) + 1))" "$@" |
  awk -v summary="$summary" '/tests passed, / { held = 1 } held { print >summary; next } { print; fflush() }' || status=$?
list=$(skipped)
[ -z "$list" ] || printf 'Skipped:\n%s\n' "$list"
cat "$summary"
exit "$status"

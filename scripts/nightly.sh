#!/usr/bin/env bash
# Stages that are too slow for the gate. All stages run, even after a failure; the last lines list their results.
# Needs a night, 6 GB of disk and 10 GB of memory. Arguments select stages: nightly.sh coverage mutation
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
mkdir -p build
export QUILLON_STAGES=$PWD/build/nightly.txt
: >"$QUILLON_STAGES"

tool=build/test/tools/quillon
faults() {
  cmake --preset test >/dev/null && cmake --build --preset test &&
    python3 tests/faults/memory_test.py "$tool" build/test/tests/libquillon_faults.so build/test/tests/library_calls --long &&
    python3 tests/faults/limits_test.py "$tool" --long && python3 tests/faults/files_test.py "$tool" --long &&
    python3 tests/faults/kill_test.py "$tool" --runs 2000
}
installation() {
  cmake --preset test >/dev/null && cmake --build --preset test && tests/build/install_test.sh "$PWD" build/test --long
}
mutation() {
  python3 scripts/mutate.py --sample 6 --plain-only --least 60 --files util/files.cpp util/random.cpp util/messages.cpp &&
    python3 scripts/mutate.py --sample 100 --seed "$(date +%j)" --least 95
}
export -f faults installation mutation
export tool

scripts/stage.sh setup scripts/setup.sh build test bench lint fuzz docs partners browser engines coverage memcheck ||
  exit 1
status=0
stage() {  # stage NAME COMMAND...
  [ ${#chosen[@]} -eq 0 ] || [[ " ${chosen[*]} " == *" $1 "* ]] || return 0
  scripts/stage.sh "$@" || status=1
}
chosen=("$@")
stage tests scripts/test.sh
stage lint scripts/lint.sh --all
stage sanitizers scripts/sanitize.sh --all
stage coverage scripts/coverage.sh
stage faults bash -c faults
stage installation bash -c installation
stage memcheck scripts/memcheck.sh
stage mutation bash -c mutation
stage fuzzing scripts/fuzz.sh 600
stage large scripts/large.sh
echo "Stages:"
cat "$QUILLON_STAGES"
exit "$status"

#!/usr/bin/env bash
# Partitions with PT-Scotch on one, two and four processes, and compares the report of the example with that of the tool
# for the same parts. Exits with 77 (skipped) if the example was not built.
# Usage: run_ptscotch.sh SOURCE_DIR PROGRAMS_DIR TOOL
set -euo pipefail
data=$1/data
program=$2/ptscotch/partition_with_ptscotch
tool=$3
[ -x "$program" ] || { echo "skipped: built without PT-Scotch (libptscotch-dev) or MPI (openmpi-bin)"; exit 77; }
command -v mpirun >/dev/null || { echo "skipped: there is no mpirun (openmpi-bin)"; exit 77; }
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
options=(--oversubscribe)
[ "$(id -u)" -ne 0 ] || options+=(--allow-run-as-root)

fail() {
  echo "run_ptscotch: $*" >&2
  exit 1
}

partition() {  # partition PROCESSES NAME NPARTS: leaves the report in report and the cut, connectivity and imbalance
  mpirun "${options[@]}" -n "$1" "$program" "$data/$2.qhg" "$3" "$place/parts" >"$place/report" 2>"$place/errors" ||
    { cat "$place/errors"; fail "$2 on $1 processes"; }
  "$tool" partition-info "$data/$2.qhg" "$place/parts" -k "$3" | grep -E '^(cut  |connectivity|imbalance)' |
    diff - "$place/report" || fail "$2 on $1 processes: the tool sees it differently"
  cut=$(awk '/^cut/ { print $2 }' "$place/report")
  imbalance=$(awk '/^imbalance/ { print $2 }' "$place/report")
  echo "$2 in $3 parts on $1 processes: cut $cut, imbalance $imbalance"
}

for processes in 1 2 4; do
  # Four strips of six rows each cut 6 x 24 nets: any real partitioner cuts fewer.
  partition "$processes" mesh24 4
  [ "$cut" -lt 144 ] || fail "the parts of the mesh are no better than strips"
  # The requested imbalance is 0.03, which PT-Scotch may exceed slightly.
  awk -v found="$imbalance" 'BEGIN { exit !(found < 0.1) }' || fail "the parts of the mesh are not balanced"
  # With one part, no net is cut.
  partition "$processes" lesmis 1
  [ "$cut" -eq 0 ] || fail "a single part is cut"
  partition "$processes" lesmis 3
  partition "$processes" davis 2
done

# A process that fails ends all others.
if mpirun "${options[@]}" -n 2 "$program" "$data/README.md" 2 "$place/parts" >"$place/report" 2>"$place/errors"; then
  fail "text was partitioned"
fi
grep -q 'quillon: error: read_hypergraph' "$place/errors" || { cat "$place/errors"; fail "another error"; }

#!/usr/bin/env bash
# Runs the built examples and compares what they print and write.
# Usage: run_examples.sh SOURCE_DIR PROGRAMS_DIR
set -euo pipefail
data=$1/data
programs=$2
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

prints() {  # prints EXPECTED PROGRAM ARGUMENT...: the whole output of the program
  local expected=$1
  shift
  "$programs/$1" "${@:2}" >"$place/out" 2>&1 || { cat "$place/out"; echo "$1 failed" >&2; exit 1; }
  printf '%s\n' "$expected" | diff - "$place/out" || { echo "$1 printed something else" >&2; exit 1; }
  echo "$1: as expected"
}

# The figures of the record, and the events of the first woman, are those of the table in data/README.md.
prints "
 CheckListsofHypergraph: Checking Hypergraph H=(   18,    14,      89) TNW=14 TINW=0 VirtNets=0
 Checking DONE....
0 nets of fewer than two pins removed

H(18, 14, 89) MWCD=8 MINCD=2 TOTCW=18
TOTNW=14 TOTINW=0 VN=0
Cell 1 has the most nets, 8:
 Nets[   1] = {   1(W=  1),    2(W=  1),    3(W=  1),    4(W=  1),    5(W=  1),    6(W=  1),    8(W=  1),    9(W=  1), }" \
  read_build_report "$data/davis.qhg"

# A diagonal entry is appended to each row.
prints "5 cells, 5 nets, 13 pins, symmetric
row 0: 1 0
row 1: 0 2 1
row 2: 1 3 2
row 3: 2 4 3
row 4: 3 4" compressed_arrays

# Cells 1 to 3 are one half and 4 to 6 the other; net 2 has one pin, net 3 none, and net 4 is set aside.
cat >"$place/small.qhg" <<'END'
1 6 6 13 2
3 1 2
7 4
1
2 1 2 3 4 5
1 5 6 4
4 3 6
END
prints "6 nets: 3 kept, 1 set aside, 1 with one pin, 1 with none
net 1 touches 1
net 2 touches 1
net 3 touches 0
net 4 touches 2
net 5 touches 1
net 6 touches 2" prune_and_restore "$place/small.qhg" 5

# On a path of four cells the first half is one part. Nets 2 and 3 are cut: each has cells on both sides.
printf '1 4 4 10\n1 2\n1 2 3\n2 3 4\n3 4\n' >"$place/path.qhg"
prints "connectivity minus one: 2 before, 2 after" \
  partition_and_renumber "$place/path.qhg" 2 "$place/path_new.qhg" "$place/path.part"
[ "$(cat "$place/path.part")" = "0 0 1 1 " ] || { echo "the parts of a path are others" >&2; exit 1; }

# The same path with other cell numbers: the new numbers follow the parts, which grow from cell 1.
printf '1 4 4 10\n1 3\n2 4 3\n1 3 2\n4 2\n' >"$place/across.qhg"
prints "connectivity minus one: 2 before, 2 after" \
  partition_and_renumber "$place/across.qhg" 2 "$place/across_new.qhg" "$place/across.part"
[ "$(cat "$place/across.part")" = "0 0 1 1 " ] || { echo "the parts of a renumbered path are others" >&2; exit 1; }
grep -v '^%' "$place/across_new.qhg" | sed -n 2,5p >"$place/nets"
printf '1 1 2 \n1 1 2 3 \n1 3 4 2 \n1 4 3 \n' | diff - "$place/nets" || { echo "the new nets are others" >&2; exit 1; }

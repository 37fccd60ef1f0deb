#!/usr/bin/env bash
# Makes, reads, checks, prunes and writes a hypergraph of 300 million pins with the tool, and compares output and input.
# Needs some minutes, 6 GB of disk and 10 GB of memory. NETS, of 20 pins on average, and CELLS in the environment set
# other sizes, QUILLON another tool than that of the release build.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

nets=${NETS:-15000000}
cells=${CELLS:-20000000}
tool=${QUILLON:-build/release/tools/quillon}
if [[ -z ${QUILLON:-} ]]; then
  scripts/setup.sh build test bench
  cmake --preset release >/dev/null
  cmake --build --preset release --target quillon_tool
fi

folder=$(mktemp -d "${TMPDIR:-/tmp}/quillon-large-XXXXXX")
trap 'rm -rf "$folder"' EXIT

# Runs a command and prints its time and the peak memory of its largest process.
measure() {
  /usr/bin/python3 - "$@" <<'END'
import resource, subprocess, sys, time

begin = time.monotonic()
status = subprocess.run(sys.argv[2:], close_fds=False).returncode
used = resource.getrusage(resource.RUSAGE_CHILDREN)
print(f"{sys.argv[1]:30} {time.monotonic() - begin:7.1f} s {used.ru_maxrss / 2**20:7.2f} GiB", file=sys.stderr)
sys.exit(status)
END
}

in=$folder/in.qhg
out=$folder/out.qhg

measure "generate" "$tool" generate random -o "$in" --cells "$cells" --nets "$nets" --size 2..38
measure "count independently" /usr/bin/python3 tests/faults/count_large.py "$in" >"$folder/expected"
pins=$(sed -n '2s/.*, \([0-9]*\)).*/\1/p' "$folder/expected")
measure "stats: read, build cell side" "$tool" stats --summary "$in" >"$folder/summary"
cmp "$folder/expected" "$folder/summary"

measure "check" "$tool" check "$in" >"$folder/verdict"
grep -q ": ok, $cells cells, [0-9]* nets, $pins pins, not symmetric$" "$folder/verdict"

measure "prune, write" "$tool" prune "$in" -o "$out" --max-size 1000 >"$folder/report"
grep -q "^kept .* $pins pins " "$folder/report"
# No net is dropped: the same lines are written, before the statistics and after three comment lines, not one.
size=$(($(stat --format=%s "$in") - $(head --lines=1 "$in" | wc --bytes)))
measure "compare" cmp --bytes="$size" <(tail --lines=+2 "$in") <(tail --lines=+4 "$out")

rm "$in"
measure "stats of the pruned copy" "$tool" stats --summary "$out" >"$folder/summary"
cmp "$folder/expected" "$folder/summary"
echo "$cells cells and $pins pins: all steps agree"

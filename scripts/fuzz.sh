#!/usr/bin/env bash
# Fuzzes all readers: fuzz.sh [--together] [SECONDS] [TARGET...], by default 30 seconds and all targets, one per
# processor at a time, or all --together. A target is a fuzzer of fuzz/, such as reader. Prints one line per target.
# Status 1: found errors, whose inputs are in build/fuzz/finds/TARGET. New inputs are kept in build/fuzz/corpus/TARGET
# for the next run.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

most=$(nproc)
if [ "${1:-}" = --together ]; then
  most=1000
  shift
fi
seconds=30
if [[ "${1:-}" =~ ^[0-9]+$ ]]; then
  seconds=$1
  shift
fi

scripts/setup.sh build fuzz
cmake --preset fuzz >/dev/null
scripts/stage.sh "build, fuzzers" cmake --build --preset fuzz
build=build/fuzz
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  mapfile -t targets < <(cd $build/fuzz && ls fuzz_*.seeds | sed 's/^fuzz_//; s/\.seeds$//')
fi

last_number() { sed -n "s/.*$1 *\([0-9]\+\).*/\1/p" "$2" | tail -n 1 | grep . || echo -; }

fuzz() {
  local target=$1 failed=0 nfinds seeds dictionary=()
  local corpus=$build/corpus/$target finds=$build/finds/$target log=$build/finds/$target.log
  rm -rf "$finds"
  mkdir -p "$corpus" "$finds"
  mapfile -t seeds <$build/fuzz/fuzz_"$target".seeds
  [ ! -f fuzz/"$target".dict ] || dictionary=(-dict=fuzz/"$target".dict)

  # Short inputs: runs of blanks are enough to reach the ends of blocks.
  $build/fuzz/fuzz_"$target" -max_total_time="$seconds" -timeout=25 -report_slow_units=25 \
    -rss_limit_mb=2048 -max_len=12288 -print_final_stats=1 "${dictionary[@]}" \
    -artifact_prefix="$finds/" "$corpus" "${seeds[@]}" >"$log" 2>&1 ||
    failed=1
  nfinds=$(find "$finds" -type f | wc -l)
  printf '%-22s %10s %8s %7s %7s %6s\n' "$target" \
    "$(last_number 'stat::number_of_executed_units:' "$log")" \
    "$(last_number 'stat::average_exec_per_sec:' "$log")" "$(last_number 'cov:' "$log")" \
    "$(last_number 'corp:' "$log")" "$nfinds"
  [ "$failed" -eq 0 ] && [ "$nfinds" -eq 0 ] && return
  grep -E '^FOUND|^SUMMARY|runtime error|ERROR:' "$log" | head -n 5 || tail -n 5 "$log"
  return 1
}

status=0
nrunning=0
printf '%-22s %10s %8s %7s %7s %6s\n' target executions a_second edges corpus finds
for target in "${targets[@]}"; do
  if [ "$nrunning" -ge "$most" ]; then
    wait -n || status=1
    nrunning=$((nrunning - 1))
  fi
  fuzz "$target" &
  nrunning=$((nrunning + 1))
done
for ((; nrunning > 0; --nrunning)); do wait -n || status=1; done
build/fuzz/fuzz/endless_tests --gtest_brief=1 || status=1
exit $status

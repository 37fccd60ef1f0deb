#!/usr/bin/env bash
# Runs one stage of a longer script and prints its duration: stage.sh NAME COMMAND... Exits with the status of the
# command. Stages may contain stages. If QUILLON_STAGES names a file, the result is also appended to it.
set -uo pipefail
name=$1
shift

echo "==== $name"
times=$(mktemp)
TIMEFORMAT='%0R %0U %0S'
{ time "$@" 2>&3; } 3>&2 2>"$times"
status=$?
read -r wall user system < <(tail -n 1 "$times")
rm -f "$times"

result=ok
[ "$status" -eq 0 ] || result="FAILED with status $status"
line=$(printf '==== %-24s %5s s, %5s s of processor time, %s' "$name" "$wall" "$((user + system))" "$result")
echo "$line"
[ -z "${QUILLON_STAGES:-}" ] || echo "$line" >>"$QUILLON_STAGES"
exit "$status"

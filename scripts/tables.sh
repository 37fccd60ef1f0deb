#!/usr/bin/env bash
# Updates the tables between "<!-- table NAME -->" and "<!-- end of table -->" in documents, from docs/tables/.
# Usage: tables.sh GENERATOR [DOCUMENT...], by default README.md, docs/formats.md and docs/rules.md; GENERATOR is quillon_documents.
set -euo pipefail
shopt -s inherit_errexit
[ $# -ge 1 ] || { echo "usage: tables.sh GENERATOR [DOCUMENT...]" >&2; exit 2; }
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
generator=$1
shift
[ $# -gt 0 ] || set -- "$root/README.md" "$root/docs/formats.md" "$root/docs/rules.md"

for document in "$@"; do
  updated=$(
    inside=0
    while IFS= read -r line; do
      [ "$line" != "<!-- end of table -->" ] || inside=0
      [ "$inside" = 1 ] || printf '%s\n' "$line"
      if [[ $line =~ ^"<!-- table "([a-z_]+)" -->"$ ]]; then
        "$generator" "$root/docs/tables/${BASH_REMATCH[1]}.md.mustache"
        inside=1
      fi
    done <"$document"
    [ "$inside" = 0 ] || { echo "tables.sh: $document: a table has no end" >&2; exit 1; }
  )
  printf '%s\n' "$updated" >"$document"
done

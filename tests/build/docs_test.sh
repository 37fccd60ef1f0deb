#!/usr/bin/env bash
# Compares the documents with the sources and the tool.
# Usage: docs_test.sh links|reference|transcripts SOURCE_DIR
#        docs_test.sh tables SOURCE_DIR GENERATOR
#        docs_test.sh manual SOURCE_DIR PAGE
#        docs_test.sh completion SOURCE_DIR TOOL SCRIPT
# Exits with 77 (skipped) if a required program is missing.
set -euo pipefail
job=$1
source_dir=$(realpath "$2")
tool=$(realpath "${3:-/}")      # or the generator, or the manual page
script=$(realpath "${4:-/}")
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
failures=0

fail() {
  echo "docs_test: $*" >&2
  failures=$((failures + 1))
}

needs() {
  command -v "$1" >/dev/null || { echo "docs_test: skipped, there is no $1" && exit 77; }
}

same() {  # same WHAT EXPECTED FOUND
  [ "$2" = "$3" ] || fail "$1:"$'\n'"$(diff <(echo "$2") <(echo "$3") || true)"
}

sorted() {
  LC_ALL=C sort -u
}

commands() {
  "$tool" --help | sed -n '/^Subcommands:/,/^$/{s/^  \([a-z-]\{1,\}\) .*/\1/p}'
}

topics() {
  "$tool" help | awk '/^Commands:/ { exit } /^  / { print $1 }'
}

options_of() {  # of a command: the long name of each option, or its short name if it has no long one
  "$tool" "$@" --help | sed -nE '/^(Positionals|Examples):/,/^$/d; s/^ +((-[a-z]),?)?(--[a-z-]+)?([ :].*|$)/\2 \3/p' |
    awk 'NF { print $NF }' | sorted
}

# Every relative link of a document has a target.
check_links() {
  local document link nlinks=0
  while read -r document; do
    while read -r link; do
      nlinks=$((nlinks + 1))
      [ -e "$(dirname "$document")/${link%%#*}" ] || fail "$document: there is no '$link'"
    done < <(awk '/^```/ { code = !code } !code' "$document" | grep -oE '\]\([^)]+\)' | sed -E 's/^\]\((.*)\)$/\1/' | grep -vE '^(https?:|mailto:|#)' || true)
  done < <(find "$source_dir" -name '*.md' -not -path '*/build/*' -not -path '*/.git/*')
  [ "$nlinks" -gt 0 ] || fail "no document has a link"
  echo "links: $nlinks"
}

doxygen_at() {  # doxygen_at FOLDER: builds the reference of the headers there
  (cd "$1" && { cat docs/Doxyfile; echo "OUTPUT_DIRECTORY = $place/reference"; } | doxygen -) >"$place/log" 2>&1
}

# Every exported name is documented, and a missing description is noticed.
check_reference() {
  needs doxygen
  doxygen_at "$source_dir" || fail "the headers lack something: $(cat "$place/log")"
  [ ! -s "$place/log" ] || fail "doxygen says: $(cat "$place/log")"
  local name
  for name in read_hypergraph CopyConsHypergraph PrintPins poolfree_upto uSeed read_file BadFile Outputs cut_sizes figures_of; do
    grep -rq "$name" "$place/reference/html" || fail "the reference has no $name"
  done
  ! grep -rq --exclude='*_source.html' PoolMarks "$place/reference/html" || fail "the reference has the internal PoolMarks"

  mkdir "$place/broken"
  cp -r "$source_dir"/{docs,util,hypergraph,formats,measures} "$place/broken"
  sed -i 's|^/// @param maxsize .*|///|' "$place/broken/hypergraph/hypergraph.h"
  ! doxygen_at "$place/broken" || fail "a parameter without a word on it went unnoticed"
  grep -q maxsize "$place/log" || fail "the parameter is not named: $(cat "$place/log")"
}

# The page has no errors and shows the dashes of options as ASCII, so that they can be copied.
check_manual() {
  needs mandoc
  local page=$tool text synopsis
  mandoc -T lint -W warning "$page" || fail "the manual page has flaws"
  text=$(mandoc -T utf8 "$page" | sed 's/.\x08//g')
  for synopsis in "quillon prune -o OUT --max-size N \[--shuffle\]" "quillon convert" "\[--from quillon | hmetis | kub" \
    ".*\[--sort KEY\]" "quillon reorder -o OUT --by-part PARTFILE | --perm FILE | --random" "quillon help \[TOPIC\]"; do
    grep -q -e "^ *$synopsis" <<<"$text" || fail "the manual page has no '$synopsis'"
  done
}

# The documents have the tables that the generator makes; tables.sh restores a changed table, and the generator refuses
# templates with unknown names.
check_tables() {
  local generator=$tool document ntables=0
  for document in README.md docs/formats.md; do
    cp "$source_dir/$document" "$place/document.md"
    ntables=$((ntables + $(grep -c '^<!-- table ' "$place/document.md")))
    "$source_dir/scripts/tables.sh" "$generator" "$place/document.md"
    same "tables in $document, which scripts/tables.sh updates" "$(cat "$place/document.md")" \
      "$(cat "$source_dir/$document")"

    sed -i '/^| `kub` | `.kub` /d; s/^| `hif` | `.json` |/| `fih` | `.nosj` |/' "$place/document.md"
    ! cmp -s "$source_dir/$document" "$place/document.md" || fail "$document has no tables of formats"
    "$source_dir/scripts/tables.sh" "$generator" "$place/document.md"
    cmp "$source_dir/$document" "$place/document.md" || fail "tables.sh does not restore a table"
  done
  [ "$ntables" = 2 ] || fail "the documents have $ntables tables"

  cp "$source_dir/docs/rules.md" "$place/document.md"
  sed -i '/^| `duplicate-pin` /d; /^## isolated-cell/d' "$place/document.md"
  ! cmp -s "$source_dir/docs/rules.md" "$place/document.md" || fail "docs/rules.md has no tables of rules"
  "$source_dir/scripts/tables.sh" "$generator" "$place/document.md"
  same "docs/rules.md, which scripts/tables.sh updates" "$(cat "$place/document.md")" "$(cat "$source_dir/docs/rules.md")"

  refused() {  # refused WHAT NAME TEXT
    printf '%s\n' "$3" >"$place/$2"
    ! "$generator" "$place/$2" 2>/dev/null || fail "$1 is not refused"
  }
  refused "an unknown member" x.md.mustache '{{#formats}}{{nmae}}{{/formats}}'
  refused "a section without an end" x.md.mustache '{{#formats}}'
  ! "$generator" "$place/missing.mustache" 2>/dev/null || fail "a missing template is not refused"
  printf '%s\n' text '<!-- table formats -->' text >"$place/document.md"
  ! "$source_dir/scripts/tables.sh" "$generator" "$place/document.md" 2>/dev/null || fail "a table without an end is not refused"
}

completions() {  # completions WORD...: the completions of the last word, sorted, on one line
  (
    cd "$place/files"
    # shellcheck source=/dev/null
    source "$script"
    COMP_WORDS=(quillon "$@")
    COMP_CWORD=$#
    _quillon
    printf '%s\n' "${COMPREPLY[@]}" | LC_ALL=C sort | paste -sd ' '
  )
}

offers() {  # offers EXPECTED WORD...
  same "completion of 'quillon ${*:2}'" "$1" "$(completions "${@:2}")"
}

check_completion() {
  mkdir -p "$place/files/folder"
  (cd "$place/files" && touch a.qhg b.qhg.gz c.hgr d.graph.zst e.mtx.gz f.part g.html "h 1.qhg" i.json)

  local command
  offers "$(commands | sorted | paste -sd ' ')" ""
  offers "$({ commands; topics; } | sorted | paste -sd ' ')" help ""
  offers "$(options_of | paste -sd ' ')" -
  for command in $(commands); do
    offers "$(options_of "$command" | paste -sd ' ')" "$command" -
  done
  offers "--table --threads" stats --t
  offers "partition partition-info prune" p
  offers "" nothing ""

  offers "a.qhg b.qhg.gz c.hgr d.graph.zst e.mtx.gz folder h 1.qhg i.json" stats ""
  offers "a.qhg b.qhg.gz c.hgr d.graph.zst e.mtx.gz folder h 1.qhg i.json" check --symmetric a.qhg ""
  offers "a.qhg" stats a
  offers "f.part" stats f.  # the only file with this prefix
  offers "a.qhg b.qhg.gz c.hgr d.graph.zst e.mtx.gz folder h 1.qhg i.json" convert ""
  offers "a.qhg b.qhg.gz c.hgr d.graph.zst e.mtx.gz folder h 1.qhg i.json" convert --from mtx a.qhg ""
  offers "a.qhg b.qhg.gz c.hgr d.graph.zst e.mtx.gz folder h 1.qhg i.json" eval -k 3 ""
  offers "a.qhg b.qhg.gz c.hgr d.graph.zst e.mtx.gz f.part folder g.html h 1.qhg i.json" eval -k 3 a.qhg ""
  offers "a.qhg b.qhg.gz c.hgr d.graph.zst e.mtx.gz f.part folder g.html h 1.qhg i.json" compare a.qhg f.part ""
  offers "folder g.html" report a.qhg -o ""
  offers "a.qhg b.qhg.gz c.hgr d.graph.zst e.mtx.gz folder h 1.qhg i.json" prune --output ""

  local formats="cnf edges hif hmetis kub metis mtx quillon"
  offers "$formats" convert --from ""
  offers "${formats/cnf /}" convert --to ""
  offers "hif hmetis" convert --from = h
  offers "$formats" convert --from =
  offers "both" convert a.qhg --weights b
  offers "column-net dual fine-grain literal primal row-net" convert --model ""
  offers "0 1" convert --numbering ""
  offers "" prune --max-size ""

  # The values offered for an option are those that the help lists.
  local option words
  for option in --from --to --weights --model --numbering; do
    words=$("$tool" convert --help | sed -nE "s/^  $option ([a-z0-9|-]+)\$/\1/p; s/^  $option ([a-z0-9|-]+) .*/\1/p" | tr '|' '\n')
    [ -n "$words" ] || fail "the help on convert has no values of $option"
    offers "$(sorted <<<"$words" | paste -sd ' ')" convert "$option" ""
  done
}

# Every difference between a transcript and what its commands print is noticed, in documents and in tests.
check_transcripts() {
  local runner=$source_dir/tests/tool/transcripts.py mode=--document
  run() { "$runner" $mode "$@" >"$place/log" 2>&1; }

  noticed() {  # noticed WHAT SED_COMMAND: the change in shown.md makes it fail
    sed "$2" "$place/shown.md" >"$place/changed.md"
    ! cmp -s "$place/shown.md" "$place/changed.md" || fail "'$2' changes nothing"
    if run /bin/true "$place/changed.md"; then fail "$1 went unnoticed"; fi
  }
  restored() {  # restored SED_COMMAND: --update undoes the change in shown.md
    sed "$1" "$place/shown.md" >"$place/changed.md"
    run --update /bin/true "$place/changed.md" || fail "--update fails: $(cat "$place/log")"
    cmp "$place/shown.md" "$place/changed.md" || fail "--update does not restore what the commands print"
  }

  cat >"$place/shown.md" <<'END'
```text file=two.txt
one
two
```
```console
$ cat two.txt
one
two
$ echo a \
  b
a b
$ false; echo $?
1
```
END
  run /bin/true "$place/shown.md" || fail "a true document fails: $(cat "$place/log")"
  noticed "another letter" '7s/one/onE/'
  noticed "a blank at the end" '8s/$/ /'
  noticed "a line too many" '8s/$/\nthree/'
  noticed "a line too few" '8d'
  noticed "a status that is not shown" 's/; echo \$?//; /^1$/d'
  noticed "a file that no command uses" '6,8d'
  noticed "a block that does not end" '$d'
  noticed "a block that does not begin with a command" '6d'
  noticed "a document without transcripts" '5,$d'
  restored '7s/one/onE/'

  mode=--jobs=1
  cat >"$place/shown.md" <<'END'
```text file=two.txt
one
two
```
## Shows every stream
```console
$ cat two.txt; echo 'oh' >&2; printf '$ x\n2> y\n[3]\nno end'; exit 3
one
two
1> $ x
1> 2> y
1> [3]
1| no end
2> oh
[3]
$ printf '\n\n' >&2; ls
two.txt
2>
2>
```
## Starts in an empty folder
```console
$ ls; echo >three.txt
two.txt
```
## Skips
Needs thing: `test -e three.txt`
```console
$ false
```
END
  run /bin/true "$place/shown.md" || fail "a true transcript fails: $(cat "$place/log")"
  grep -q 'Skips: there is no thing$' "$place/log" || fail "a skipped case is not named: $(cat "$place/log")"
  noticed "another letter" '8s/one/onE/'
  noticed "another letter on standard error" 's/^2> oh/2> Oh/'
  noticed "text on the other stream" 's/^2> oh/oh/'
  noticed "a line end too many" 's/^1| no end/no end/'
  noticed "an empty line too few" '$!N;/^2>\n2>$/D;P;D'
  noticed "another status" 's/^\[3\]$/[4]/'
  noticed "a status that is not shown" '/^\[3\]$/d'
  noticed "a case that fails" 's/^## Skips/## Fails/; /^Needs/d'
  noticed "bytes that are not printable" 's/two.txt; echo/two.txt; printf "\\001"; echo/'
  noticed "a case without commands" '/^\$ ls; echo/,/^## Skips/{/^\$/d;/^two/d}'
  noticed "two cases of one name" 's/^## Skips/## Shows every stream/'
  restored '8s/one/onE/; s/^2> oh/2> Oh/; s/^\[3\]$/[4]/'
}

case "$job" in
  links) check_links ;;
  reference) check_reference ;;
  transcripts) check_transcripts ;;
  tables) check_tables ;;
  manual) check_manual ;;
  completion) check_completion ;;
  *) fail "there is no job '$job'" ;;
esac
if [ "$failures" -gt 0 ]; then
  echo "docs_test: $job: $failures failures" >&2
  exit 1
fi
echo "docs_test: $job: fine"

# Completion of quillon for bash. Installed as share/bash-completion/completions/quillon, or read by ~/.bashrc:
#   source completions/quillon.bash

# Offers directories and the files with one of these suffixes; if there are none, all files.
_quillon_files() {
  local name suffix
  local -a names matching=()
  mapfile -t names < <(compgen -f -- "$cur")
  for name in "${names[@]}"; do
    if [ -d "$name" ]; then
      matching+=("$name")
      continue
    fi
    for suffix in "$@"; do
      if [[ $name == *"$suffix" ]]; then
        matching+=("$name")
        break
      fi
    done
  done
  [ ${#matching[@]} -gt 0 ] || matching=("${names[@]}")
  COMPREPLY=("${matching[@]}")
  # Bash itself knows of quotes and ~. Outside of completion there is nothing to set.
  compopt -o filenames 2>/dev/null || return 0
  [ ${#COMPREPLY[@]} -gt 0 ] || compopt -o default
}

_quillon_words() {
  mapfile -t COMPREPLY < <(compgen -W "$1" -- "$cur")
}

_quillon_options() { # of a command
  local common="--help --quiet"
  case "$1" in
    "") echo "$common --version" ;;
    stats) echo "$common --table --header --summary --json --keep-small-nets" ;;
    check) echo "$common --symmetric --json --keep-small-nets" ;;
    dump) echo "$common --net --cell --keep-small-nets" ;;
    prune) echo "$common --output --max-size --shuffle --seed --map --set-aside" ;;
    reorder) echo "$common --output --by-part --perm --random --seed --write-perm --write-inverse" ;;
    convert) echo "$common --from --to --numbering --weights --model --diagonal --labels --strict" ;;
    partition-info) echo "$common --from -k --write --one-per-line --json" ;;
    report) echo "$common --output --from -k --title" ;;
    help) echo "--help" ;;
  esac
}

_quillon_takes_value() {
  case "$1" in
    -o | --output | --max-size | --seed | --map | --set-aside | --net | --cell | --by-part | --perm | --write-perm | \
      --write-inverse | --from | --to | --numbering | --weights | --model | --labels | -k | --write | --title) ;;
    *) return 1 ;;
  esac
}

_quillon_value() { # of OPTION of COMMAND
  local option=$1 command=$2
  case "$option" in
    --from) _quillon_words "quillon hmetis kub mtx metis hif" ;;
    --to) _quillon_words "quillon hmetis kub mtx hif" ;;
    --numbering) _quillon_words "0 1" ;;
    --weights) _quillon_words "none cells nets both auto" ;;
    --model) _quillon_words "row-net column-net fine-grain" ;;
    -o | --output) if [ "$command" = report ]; then _quillon_files .html; else _quillon_files .qhg; fi ;;
    --set-aside) _quillon_files .qhg ;;
    --map | --perm | --write-perm | --write-inverse | --by-part | --labels | --write) _quillon_files "" ;;
  esac
}

_quillon_argument() { # number N, from 1, of COMMAND
  local n=$1 command=$2
  local -a own=(.qhg .qhg.gz)
  local -a written=(.qhg .hgr .hmetis .hg .kub .mtx .json)
  local -a read=("${written[@]}" .graph)
  read+=("${read[@]/%/.gz}")
  case "$command,$n" in
    stats,* | check,* | dump,1 | prune,1 | reorder,1) _quillon_files "${own[@]}" ;;
    convert,1 | partition-info,1 | report,1) _quillon_files "${read[@]}" ;;
    convert,2) _quillon_files "${written[@]}" ;;
    partition-info,2 | report,2) _quillon_files "" ;;
    help,1) _quillon_words "$_quillon_commands formats numbering weights partitions output terminal exit-status" ;;
  esac
}

_quillon_commands="stats check dump prune reorder convert partition-info report help"

_quillon() {
  local cur=${COMP_WORDS[COMP_CWORD]} option="" command="" word
  local k narguments=0 is_value=0
  COMPREPLY=()
  for ((k = 1; k < COMP_CWORD; ++k)); do
    word=${COMP_WORDS[k]}
    if [ "$word" = "=" ]; then # bash takes --to=kub for three words
      is_value=1
    elif [ "$is_value" = 1 ]; then
      is_value=0
      option=""
    elif [[ $word == -?* ]]; then
      option=$word
      if _quillon_takes_value "$word"; then is_value=1; fi
    elif [ -z "$command" ]; then
      command=$word
    else
      narguments=$((narguments + 1))
    fi
  done
  if [ "$cur" = "=" ]; then
    cur=""
    is_value=1
  fi

  if [ "$is_value" = 1 ]; then
    _quillon_value "$option" "$command"
  elif [[ $cur == -* ]]; then
    _quillon_words "$(_quillon_options "$command")"
  elif [ -z "$command" ]; then
    _quillon_words "$_quillon_commands"
  else
    _quillon_argument $((narguments + 1)) "$command"
  fi
}

complete -F _quillon quillon

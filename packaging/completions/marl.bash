# SPDX-License-Identifier: MIT
# Completion of marl for bash. Commands and flags are what `marl --help` lists, keywords what `marl keywords` does,
# so that this file knows none of them. In any language the keys are offered, which is what
# `marl search` takes.

# _marl_listed SECTION [command...]: the first words of that section of a help text.
_marl_listed() {
  local section=$1
  shift
  "$program" "$@" --help 2>/dev/null | sed -n "/^$section:/,/^\$/ s/^  \([^ ][^ ]*\).*/\1/p" | tr , '\n'
}

# The line of the help about a flag that takes a value; nothing for other words.
_marl_about_value() {
  "$program" "${command[@]}" --help 2>/dev/null | sed -n "/^  \([^ ]*,\)*$1\(,[^ ]*\)* [A-Z]/,/^  -/p"
}

_marl_values() {  # FLAG
  local about=
  [[ $1 =~ ^-[a-z-]+$ ]] && about=$(_marl_about_value "$1")
  [ -n "$about" ] || return 1
  case $1 in
    --format) grep -oE '\b[sf](16|24|32)\b' <<<"$about" | sort -u ;;
    --channels) printf '1\n2\n' ;;
  esac
}

# What stands where no flag does. Files are left to the shell.
_marl_arguments() {
  local subcommands
  subcommands=$(_marl_listed Subcommands "${command[@]}")
  if [ -n "$subcommands" ]; then
    echo "$subcommands"
    return
  fi
  case ${command[*]} in
    search) LC_ALL=C.UTF-8 "$program" keywords "${index_dir[@]}" 2>/dev/null | sed -n 's/^ *[0-9][0-9]*  *//p' ;;
    'prefs '[gs]et | 'prefs reset')
      [ "$COMP_CWORD" -gt 3 ] || "$program" prefs list 2>/dev/null |
        awk 'NR == 1 {from = index($0, "key"); to = index($0, "value"); next}
             {key = substr($0, from, to - from); sub(/ +$/, "", key); print key}'
      ;;
  esac
}

# What the shell completes itself where there are no candidates: files, folders, or nothing.
_marl_leave_to_shell() {
  case $1 in
    files) ;;
    folders) compopt +o default -o dirnames -o filenames ;;
    nothing) compopt +o default ;;
  esac 2>/dev/null
}

# A word of the command line as marl gets it: without its quotes, the home folder in place of ~.
_marl_unquoted() {
  local word=${1//\\/}
  case $1 in
    \"* | \'*) word=${1:1} && word=${word%[\"\']} ;;
    \~ | \~/*) word=$HOME${word:1} ;;
  esac
  printf '%s' "$word"
}

# What stands before the cursor: command, folder of indexes, last word, and whether a -- ends the flags.
_marl_read_line() {
  local word i
  for ((i = 1; i < COMP_CWORD; i++)); do
    word=${COMP_WORDS[i]}
    case $word in
      =) continue ;;  # bash makes three words of --flag=value
      --) flags_end=yes ;;
    esac
    [ "$previous" = --index-dir ] && index_dir=(--index-dir "$(_marl_unquoted "$word")")
    if [[ $word != -* && ${#command[@]} -lt 2 ]] &&
      _marl_listed Subcommands "${command[@]}" | grep -qxF -- "$word"; then
      command+=("$word")
    fi
    previous=$word
  done
}

_marl_find() {
  if [ -z "$flags_end" ] && candidates=$(_marl_values "$previous"); then
    case $previous in
      --index-dir | --remove) _marl_leave_to_shell folders ;;
      -o) _marl_leave_to_shell files ;;
      *) _marl_leave_to_shell nothing ;;
    esac
  elif [[ -z $flags_end && $cur == -* ]]; then
    candidates=$(_marl_listed Options "${command[@]}")
    _marl_leave_to_shell nothing
  else
    candidates=$(_marl_arguments)
    case ${command[*]} in
      '' | hardware | keywords | prefs* | search) _marl_leave_to_shell nothing ;;
    esac
  fi
}

_marl() {
  local cur=${COMP_WORDS[COMP_CWORD]#=} program previous='' flags_end='' command=() index_dir=() candidates typed word
  program=$(_marl_unquoted "${COMP_WORDS[0]}")
  _marl_read_line
  _marl_find
  # What is typed may be quoted already; keys match in either case.
  typed=${cur#[\"\']}
  typed=${typed//\\/}
  COMPREPLY=()
  while IFS= read -r word; do
    [[ -n $word && ${word,,} == "${typed,,}"* ]] || continue
    [ "$cur" = "${cur#[\"\']}" ] && printf -v word %q "$word"
    COMPREPLY+=("$word")
  done <<<"$candidates"
}

complete -o default -F _marl marl

# SPDX-License-Identifier: MIT
# Completion of marl for bash. Commands and flags are what `marl --help` lists, keywords what `marl keywords` does,
# so that this file knows none of them. In any language the keys are offered,
# which is what `marl search` takes.

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
  local about
  case $1 in -*) about=$(_marl_about_value "$1") ;; esac
  [ -n "$about" ] || return 1
  case $1 in
    --format) grep -oE '\b[sf](16|24|32)\b' <<<"$about" | sort -u ;;
    --channels) printf '1\n2\n' ;;
    --index-dir | --remove) compgen -d -- "$cur" ;;
    -o | --output) compgen -f -- "$cur" ;;
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

_marl() {
  local program=${COMP_WORDS[0]} cur=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local command=() index_dir=() word i candidates typed
  for ((i = 1; i < COMP_CWORD; i++)); do
    word=${COMP_WORDS[i]}
    if [ "$word" = --index-dir ]; then index_dir=(--index-dir "${COMP_WORDS[i + 1]}"); fi
    if [[ $word != -* && ${#command[@]} -lt 2 ]] &&
      _marl_listed Subcommands "${command[@]}" | grep -qxF -- "$word"; then
      command+=("$word")
    fi
  done
  COMPREPLY=()
  if ! candidates=$(_marl_values "$previous"); then
    case $cur in
      -*) candidates=$(_marl_listed Options "${command[@]}") ;;
      *) candidates=$(_marl_arguments) ;;
    esac
  fi
  # What is typed may be quoted already; keys match in either case.
  typed=${cur#[\"\']}
  typed=${typed//\\/}
  while IFS= read -r word; do
    [[ -n $word && ${word,,} == "${typed,,}"* ]] || continue
    [ "$cur" = "${cur#[\"\']}" ] && printf -v word %q "$word"
    COMPREPLY+=("$word")
  done <<<"$candidates"
}

complete -o default -F _marl marl

#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Each shell completes what the program has: commands, flags, values, and keywords from an index.
# `completions.sh PREFIX SHELL FOLDER_OF_LOOPS`
set -euo pipefail
prefix=$1
shell=$2
PATH=$prefix/bin:$PATH
. "$(dirname "$0")/help.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# In any language the keys are completed, which is what `marl search` takes.
unset LC_ALL LC_MESSAGES
export LANG=de_DE.UTF-8
export HOME=$work XDG_CONFIG_HOME=$work/config XDG_DATA_HOME=$work/data
marl index --index-dir "$work/the indexes" "$3" >/dev/null
ln -s "$prefix/bin/marl" "$work/marl"
mkdir "$work/here"  # empty: no files to complete
cd "$work/here"

# complete_in_SHELL program word...: what completes the last word. Words are as typed, quotes and all.
complete_in_bash() {
  local words=() word
  for word in "$@"; do  # what is joined by = are words of their own there
    case $word in
      --*=) words+=("${word%=}" =) ;;
      --*=*) words+=("${word%%=*}" = "${word#*=}") ;;
      *) words+=("$word") ;;
    esac
  done
  bash --norc -u -c '. "$0"
    COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
    _marl
    printf "%s\n" "${COMPREPLY[@]}"' "$prefix/share/bash-completion/completions/marl" "${words[@]}" | sed 's/\\//g'
}

# zsh completes inside its line editor only, so its own builtins have stand-ins here.
complete_in_zsh() {
  zsh -f -c '
    words=("$@")
    CURRENT=$#words
    _files() {}
    compset() {}
    compadd() {
      while [[ $1 == -* ]]; do
        case $1 in
          -a) printf "%s\n" ${(P)2}; return ;;
          --) shift; break ;;
          *) shift 2 ;;
        esac
      done
      printf "%s\n" "$@"
    }
    source $0' "$(find "$prefix" -name _marl)" "$@" | grep -i -e "^$(sed 's/^--.*=//; s/\\//g' <<<"${*: -1}")" || true
}

complete_in_fish() {
  fish --no-config -c 'source $argv[1]; complete -C "$argv[2..]"' \
    "$prefix/share/fish/vendor_completions.d/marl.fish" "$@" | cut -f 1 | sed 's/^--.*=//'
}

sorted() { sed "/^$/d" | sort; }

failures=0
program=marl
# completes EXPECTED word...
completes() {
  local expected=$1
  shift
  if ! diff -u --label expected --label "$program $*" \
    <(sorted <<<"$expected") <("complete_in_$shell" "$program" "$@" | sorted); then
    failures=$((failures + 1))
  fi
}

completes "$(subcommands)" ''
completes "$(flags)" -
completes "$(subcommands prefs)" prefs ''
while read -r command; do
  # shellcheck disable=SC2086
  completes "$(flags $command)" $command -
done < <(commands)
completes search sea
completes $'--key\n--key-type' search --key
completes $'Drum Kit\nDry' search --index-dir "'$work/the indexes'" dr
completes $'Drum Kit\nDry' search "--index-dir=$work/the\\ indexes" dr
completes $'Drum Kit\nDry' search --index-dir '~/the\ indexes' dr
program='~/marl' completes search sea
completes "$(LC_ALL=C.UTF-8 marl keywords --index-dir "$work/the indexes" | sed -n 's/^ *[0-9]* *\([A-Z]\)/\1/p')" \
  search --index-dir "$work/the\\ indexes" Funk ''
completes '' search -- --key
completes $'f32\ns16\ns24' convert --format ''
completes $'s16\ns24' record --format ''
completes s16 convert --format=s1
completes $'1\n2' stream --channels ''
completes 'Default Tempo' prefs get 'Default\ Te'
completes '' prefs get '"Default Tempo"' ''
completes '' stream --rate ''
[ "$failures" -eq 0 ]

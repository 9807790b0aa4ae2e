#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Pastes what a page shows: saves its C++ blocks under the names before them, makes demo-loops/, and runs every
# "$ command" of its console blocks, in one shell and in order. The output must be the one that stands there.
#
#     page.sh SOURCE_DIR BUILD_DIR PAGE        (PAGE below SOURCE_DIR)
set -uo pipefail
source_dir=$1
build_dir=$2
page=$source_dir/$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1

export XDG_CONFIG_HOME=$work/config  # no settings, and none of the user's are changed
export LC_ALL=C.UTF-8                # the README is in English
mkdir -p build
ln -s "$build_dir" build/release
ln -s "$source_dir/MarlCore" MarlCore
build/release/bin/marl-loopmaker demo-loops >/dev/null || exit 1
awk 'match($0, /`[a-z]+\.cpp`/) {file = substr($0, RSTART + 1, RLENGTH - 2)}
     /^```cpp$/ {inside = 1; next} /^```$/ {inside = 0} inside {print >file}' "$page"

# One console line after the other; \001 marks the commands.
mapfile -t lines < <(awk '/^```console$/ {inside = 1; next} /^```$/ {if (inside) print "\001"; inside = 0}
                          inside {if (sub(/^\$ /, "")) print "\001" $0; else print}' "$page")

commands=0 failures=0 command='' expected=''
check() {
  [ -n "$command" ] || return 0
  commands=$((commands + 1))
  local shown
  eval "$command" >shown.txt 2>&1 </dev/null  # here, so that later commands know the variables it sets
  # The page is not written in this folder, and takes its own time.
  shown=$(sed -E "s#$PWD#/home/you/MarlCore#g; s# +[0-9]+\.[0-9]{2} (/home/you)#     0.05 \1#" shown.txt)
  if [ "$shown" != "${expected%$'\n'}" ]; then
    failures=$((failures + 1))
    printf '$ %s\n-- the page shows\n%s\n-- it prints\n%s\n' "$command" "${expected%$'\n'}" "$shown"
  fi
}
for line in "${lines[@]}"; do
  if [[ $line == $'\001'* ]]; then
    check
    command=${line#$'\001'}
    expected=''
  else
    expected+=$line$'\n'
  fi
done
check
# Pictures that the commands have written are those that it shows.
for picture in *.png; do
  [ -e "$source_dir/docs/images/$picture" ] || continue
  cmp "$picture" "$source_dir/docs/images/$picture" || failures=$((failures + 1))
done
echo "$commands commands, $failures failures"
[ "$commands" -ge 5 ] && [ "$failures" -eq 0 ]

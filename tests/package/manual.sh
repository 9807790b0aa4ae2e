#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The manual page has the commands and flags that the help has, no more and no fewer, and reads without a warning.
# `manual.sh PREFIX`
set -euo pipefail
PATH=$1/bin:$PATH
. "$(dirname "$0")/help.sh"
page=$(gzip -dc "$1/share/man/man1/marl.1.gz")

# "[command] flag" for each flag, "command:" for each command.
in_help() {
  local command
  flags | sed 's/^/ /'
  while read -r command; do
    echo "$command:"
    # shellcheck disable=SC2086
    flags $command | sed "/^-h$/d; /^--help$/d; s/^/$command /"
  done < <(commands)
}

in_manual() {
  sed 's/\\-/-/g' <<<"$page" | awk '
    /^\.SH/ {inside = $2 == "OPTIONS" || $2 == "COMMANDS"; command = ""}
    /^\.SS/ {sub(/^\.SS /, ""); sub(/ *\\f.*/, ""); command = $0; if (inside) print command ":"}
    tag && inside {gsub(/[",]/, " "); for (i = 2; i <= NF; i++) if ($i ~ /^-/) print command " " $i}
    {tag = /^\.TP/}'
}

diff -u --label help --label manual <(in_help | sort) <(in_manual | sort)
warnings=$(groff -man -Tutf8 -ww -z - <<<"$page" 2>&1)
[ -z "$warnings" ] || { echo "$warnings"; exit 1; }

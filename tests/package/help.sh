# SPDX-License-Identifier: MIT
# What the help of marl names, for the tests that compare other places with it. Sourced with marl in the PATH.

# subcommands [command...]
subcommands() {
  marl "$@" --help | awk '/^Subcommands:/ {inside = 1; next} /^$/ {inside = 0} inside && /^  [^ ]/ {print $1}'
}

# flags [command...]
flags() {
  marl "$@" --help | awk '/^Options:/ {inside = 1; next} /^$/ {inside = 0}
                          inside && /^  -/ {gsub(",", "\n", $1); print $1}'
}

# Every command that does something: "info", ... "prefs list".
commands() {
  local command subcommand
  for command in $(subcommands); do
    if [ -z "$(subcommands "$command")" ]; then
      echo "$command"
    else
      for subcommand in $(subcommands "$command"); do
        echo "$command $subcommand"
      done
    fi
  done
}

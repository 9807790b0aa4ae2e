# SPDX-License-Identifier: MIT
# Completion of marl for fish. Commands and flags with their descriptions are what `marl --help` lists, keywords what
# `marl keywords` does, so that this file knows none of them. In any language the keys are offered,
# which is what `marl search` takes.

# __marl_listed PROGRAM SECTION [command...]: "word<tab>description" of that section of a help text.
function __marl_listed
    $argv[1] $argv[3..-1] --help 2>/dev/null |
        sed -nE "/^$argv[2]:/,/^\$/ s/^  ([^ ]+)( [^ ]+)*( {2,}(.*))?\$/\1\t\4/p" |
        sed -E 's/^([^\t,]+),([^\t]+)\t(.*)/\1\t\3\n\2\t\3/'
end

# The line of the help about a flag that takes a value; nothing for other words.
function __marl_about_value --argument-names program flag
    string match -q -- '-*' $flag
    and $program $argv[3..-1] --help 2>/dev/null | sed -n "/^  \([^ ]*,\)*$flag\(,[^ ]*\)* [A-Z]/,/^  -/p"
end

# The commands that have been typed, such as "prefs" and "get".
function __marl_command
    set -l words (commandline -opc)
    set -l command
    for word in $words[2..-1]
        if not string match -q -- '-*' $word; and test (count $command) -lt 2
            and __marl_listed $words[1] Subcommands $command | string match -q -- "$word"\t'*'
            set -a command $word
        end
    end
    printf '%s\n' $command
end

function __marl_candidates
    set -l words (commandline -opc)
    set -l program $words[1]
    set -l command (__marl_command)
    set -l about (__marl_about_value $program $words[-1] $command)
    if test -n "$about"
        switch $words[-1]
            case --format
                printf '%s\n' $about | string match -arg '\b([sf](?:16|24|32))\b' | sort -u
            case --channels
                printf '%s\n' 1 2
            case --index-dir --remove
                __fish_complete_directories (commandline -ct)
        end
        return
    end
    if string match -q -- '-*' (commandline -ct)
        __marl_listed $program Options $command
        return
    end
    __marl_listed $program Subcommands $command
    switch "$command"
        case search
            set -l index_dir
            if set -l i (contains -i -- --index-dir $words)
                set index_dir --index-dir $words[(math $i + 1)]
            end
            LC_ALL=C.UTF-8 $program keywords $index_dir 2>/dev/null | sed -n 's/^ *[0-9][0-9]*  *//p'
        case 'prefs get' 'prefs set' 'prefs reset'
            test (count $words) -gt 3
            or $program prefs list 2>/dev/null |
                awk 'NR == 1 {from = index($0, "key"); to = index($0, "value"); next}
                     {key = substr($0, from, to - from); sub(/ +$/, "", key); print key}'
    end
end

# Where files are no answer.
function __marl_takes_no_file
    set -l words (commandline -opc)
    set -l command (__marl_command)
    switch $words[-1]
        case -o --output
            return 1
        case '-*'
            test -n "$(__marl_about_value $words[1] $words[-1] $command)"
            and return 0
    end
    contains -- "$command[1]" '' hardware search keywords prefs
end

complete -c marl -f -n __marl_takes_no_file
complete -c marl -a '(__marl_candidates)'

# SPDX-License-Identifier: MIT
# Completion of marl for fish. Commands and flags with their descriptions are what `marl --help` lists, keywords what
# `marl keywords` does, so that this file knows none of them. In any language the keys are offered, which is what
# `marl search` takes.

# __marl_listed PROGRAM SECTION [command...]: "word<tab>description" of that section of a help text.
function __marl_listed
    $argv[1] $argv[3..-1] --help 2>/dev/null |
        sed -nE "/^$argv[2]:/,/^\$/ s/^  ([^ ]+)( [^ ]+)*( {2,}(.*))?\$/\1\t\4/p" |
        sed -E 's/^([^\t,]+),([^\t]+)\t(.*)/\1\t\3\n\2\t\3/'
end

# The line of the help about a flag that takes a value; nothing for other words.
function __marl_about_value --argument-names program flag
    string match -qr -- '^-[a-z-]+$' $flag
    and $program $argv[3..-1] --help 2>/dev/null | sed -n "/^  \([^ ]*,\)*$flag\(,[^ ]*\)* [A-Z]/,/^  -/p"
end

# The words before the cursor as marl gets them: the home folder in place of ~, --flag=value as two words.
function __marl_words
    for word in (commandline -opc) (string match -r -- '^--[a-z-]+=' (commandline -ct))
        if string match -qr -- '^--[a-z-]+=' $word
            string split -n -m 1 = -- $word
        else
            echo -- $word
        end
    end | string replace -r '^~(?=/|$)' -- $HOME
end

# The commands among words, such as "prefs" and "get".
function __marl_command
    set -l command
    for word in $argv[2..-1]
        if not string match -q -- '-*' $word; and test (count $command) -lt 2
            and __marl_listed $argv[1] Subcommands $command | string match -q -- "$word"\t'*'
            set -a command $word
        end
    end
    printf '%s\n' $command
end

function __marl_values --argument-names flag about typed
    switch $flag
        case --format
            string match -arg '\b([sf](?:16|24|32))\b' -- $about | sort -u
        case --channels
            printf '%s\n' 1 2
        case --index-dir --remove
            __fish_complete_directories $typed
    end
end

function __marl_arguments
    set -l program $argv[1]
    set -l command (__marl_command $argv)
    __marl_listed $program Subcommands $command
    switch "$command"
        case search
            set -l index_dir
            if set -l i (contains -i -- --index-dir $argv)
                set index_dir --index-dir $argv[(math $i + 1)]
            end
            LC_ALL=C.UTF-8 $program keywords $index_dir 2>/dev/null | sed -n 's/^ *[0-9][0-9]*  *//p'
        case 'prefs get' 'prefs set' 'prefs reset'
            test (count $argv) -gt 3
            or $program prefs list 2>/dev/null |
                awk 'NR == 1 {from = index($0, "key"); to = index($0, "value"); next}
                     {key = substr($0, from, to - from); sub(/ +$/, "", key); print key}'
    end
end

function __marl_candidates
    set -l words (__marl_words)
    set -l command (__marl_command $words)
    set -l typed (commandline -ct)
    set -l flag (string match -r -- '^--[a-z-]+=' $typed)
    set -l about (__marl_about_value $words[1] $words[-1] $command)
    if contains -- -- $words
        __marl_arguments $words
    else if test -n "$about"
        __marl_values $words[-1] "$about" (string replace -- "$flag" '' $typed) | string replace -r '^' -- "$flag"
    else if string match -q -- '-*' $typed
        __marl_listed $words[1] Options $command
    else
        __marl_arguments $words
    end
end

# Where files are no answer.
function __marl_takes_no_file
    set -l words (__marl_words)
    set -l command (__marl_command $words)
    if not contains -- -- $words
        test "$words[-1]" = -o
        and return 1
        test -n "$(__marl_about_value $words[1] $words[-1] $command)"
        and return 0
    end
    contains -- "$command[1]" '' hardware search keywords prefs
end

complete -c marl -f -n __marl_takes_no_file
complete -c marl -a '(__marl_candidates)'

# Completion of vyn for fish: commands and options from its help, addresses from --declared or the files.

function __vyn_files --description "The options of the command line that name files"
    set -l words (commandline -opc)
    for i in (seq 3 (math (count $words) - 1))
        if contains -- $words[$i] -f --file --declared
            echo $words[$i]
            echo $words[(math $i + 1)]
        end
    end
end

function __vyn_options
    set -l words (commandline -opc)
    vyn $words[2] --help 2>/dev/null | string match -r '^  (?:-.,)?--?[a-z-]+' | string trim | string split ,
end

function __vyn_addresses
    vyn list (__vyn_files) 2>/dev/null | string replace -r '=.*' ''
end

complete -c vyn -n __fish_use_subcommand -f -a "(vyn --help | string match -rg '^  ([a-z]+)')"
complete -c vyn -n 'not __fish_use_subcommand; and string match -q -- "-*" (commandline -ct)' -f -a '(__vyn_options)'
complete -c vyn -n '__fish_seen_subcommand_from get set unset fix unfix list explain' -a '(__vyn_addresses)'

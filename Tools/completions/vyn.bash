# Completion of vyn for bash: commands and options from its help, addresses from --declared or the files.

_vyn() {
    local word=${COMP_WORDS[COMP_CWORD]} last=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]} files=() i
    if [ "$COMP_CWORD" -eq 1 ]; then
        mapfile -t COMPREPLY < <(compgen -W "$(vyn --help | awk '/^  [a-z]/ {print $1}')" -- "$word")
        return
    fi
    if [[ $word == -* ]]; then
        local options
        options=$(vyn "$command" --help 2>/dev/null | grep -oE '^  (-.,)?--?[a-z-]+' | tr , ' ')
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
        return
    fi
    COMPREPLY=()
    case $last,$command in
        -f,* | --file,* | --declared,*) ;;
        *,get | *,set | *,unset | *,fix | *,unfix | *,list | *,explain)
            for ((i = 2; i < COMP_CWORD - 1; ++i)); do
                case ${COMP_WORDS[i]} in
                    -f | --file | --declared) files+=("${COMP_WORDS[i]}" "${COMP_WORDS[i + 1]}") ;;
                esac
            done
            local IFS=$'\n'
            mapfile -t COMPREPLY < <(compgen -W "$(vyn list "${files[@]}" 2>/dev/null | sed 's/=.*//')" -- "$word")
            return
            ;;
    esac
    mapfile -t COMPREPLY < <(compgen -f -- "$word")
}

complete -F _vyn vyn

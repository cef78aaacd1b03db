# Completion for bash. The program itself says what there is: it answers within milliseconds, and nothing here can
# fall behind its command table.

_dravo() {
    local word
    COMPREPLY=()
    while IFS=$'\t' read -r word _; do
        if [[ $word == :files ]]; then
            compopt -o filenames 2>/dev/null
            mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -f -- "$2")
        else
            COMPREPLY+=("$word")
        fi
    done < <("$1" --complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
    [[ ${COMPREPLY[*]} == *= ]] && compopt -o nospace 2>/dev/null
    return 0
}

complete -F _dravo dravo

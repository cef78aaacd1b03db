# Completion for bash. The program itself says what there is: it answers within milliseconds, and nothing here can
# fall behind its command table.

_dravo() {
    local program=$1 word=$2 command='' usage='' words='' i
    COMPREPLY=()
    for ((i = 1; i < COMP_CWORD; i++)); do
        [[ ${COMP_WORDS[i]} == -* ]] || { command=${COMP_WORDS[i]} && break; }
    done
    if [[ -z $command ]]; then
        words="--autostart --headless --help --version $("$program" help 2>/dev/null |
            awk '/^Commands:/ { on = 1; next } /^$/ { on = 0 } on { print $1 }')"
    elif [[ $word == -* ]]; then
        words=$("$program" help "$command" 2>/dev/null |
            awk '/^Options:/ { on = 1; next } on { for (i = 1; i <= 2; i++) if ($i ~ /^--/) print $i }')
    else
        usage=$("$program" help "$command" 2>/dev/null | sed -n '/^$/q;p')
        case $usage in
            *PRESET* | *'[ID]'*) words=$("$program" presets 2>/dev/null | awk '{ print $1 }') ;;
            *COMMAND*) words=$("$program" help | awk '/^Commands:/ { on = 1; next } /^$/ { on = 0 } on { print $1 }') ;;
        esac
        words+=" $(printf '%s\n' "$usage" | sed 's/^.*dravo [a-z]*//' | tr '[]| ' '\n' |
            sed -n 's/^\([a-z0-9][a-z0-9-]*=\{0,1\}\)X\{0,1\}$/\1/p')"
        case $usage in
            *PRESET* | *FILE* | *OUT.png*)
                compopt -o filenames 2>/dev/null
                mapfile -t COMPREPLY < <(compgen -f -- "$word")
                ;;
        esac
    fi
    local match
    while read -r match; do
        COMPREPLY+=("$match")
    done < <(compgen -W "$words" -- "$word")
    [[ ${COMPREPLY[*]} == *= ]] && compopt -o nospace 2>/dev/null
    return 0
}

complete -F _dravo dravo

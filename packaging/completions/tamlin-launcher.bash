# shellcheck shell=bash
# Completion of tamlin-launcher for bash.

_tamlin_launcher() {
    local word=${COMP_WORDS[COMP_CWORD]} completion
    COMPREPLY=()
    while IFS= read -r completion; do
        COMPREPLY+=("$completion")
    done < <(
        case $word in
            -*) compgen -W '--anyway --help' -- "$word" ;;
            *)
                compgen -d -- "$word"
                compgen -f -X '!*.json' -- "$word"
                ;;
        esac
    )
}

complete -o filenames -F _tamlin_launcher tamlin-launcher

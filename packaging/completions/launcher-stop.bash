# shellcheck shell=bash
# Completion of launcher-stop for bash.

_launcher_stop() {
    local word=${COMP_WORDS[COMP_CWORD]} completion
    COMPREPLY=()
    while IFS= read -r completion; do
        COMPREPLY+=("$completion")
    done < <(
        case $word in
            -*) compgen -W '--leftovers --help --version' -- "$word" ;;
            *)
                compgen -d -- "$word"
                compgen -f -X '!*.json' -- "$word"
                ;;
        esac
    )
}

complete -o filenames -F _launcher_stop launcher-stop

# shellcheck shell=bash
# Completion of launcher-status for bash.

_launcher_status() {
    local word=${COMP_WORDS[COMP_CWORD]} completion
    COMPREPLY=()
    while IFS= read -r completion; do
        COMPREPLY+=("$completion")
    done < <(
        case $word in
            -*) compgen -W '--json --watch --help --version' -- "$word" ;;
            *)
                compgen -d -- "$word"
                compgen -f -X '!*.json' -- "$word"
                ;;
        esac
    )
}

complete -o filenames -F _launcher_status launcher-status

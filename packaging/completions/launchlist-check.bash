# shellcheck shell=bash
# Completion of launchlist-check for bash.

_launchlist_check() {
    local word=${COMP_WORDS[COMP_CWORD]} completion
    COMPREPLY=()
    while IFS= read -r completion; do
        COMPREPLY+=("$completion")
    done < <(
        case $word in
            -*) compgen -W '--json --strict --all --no-programs --help --version' -- "$word" ;;
            *)
                compgen -d -- "$word"
                compgen -f -X '!*.json' -- "$word"
                ;;
        esac
    )
}

complete -o filenames -F _launchlist_check launchlist-check

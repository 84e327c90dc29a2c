# shellcheck shell=bash
# Completion of launchlog-report for bash.

_launchlog_report() {
    local word=${COMP_WORDS[COMP_CWORD]} completion
    COMPREPLY=()
    # A time is the user's own.
    [[ ${COMP_WORDS[COMP_CWORD - 1]} != --now ]] || return 0
    while IFS= read -r completion; do
        COMPREPLY+=("$completion")
    done < <(
        case $word in
            -*) compgen -W '--follow --json --now --help --version' -- "$word" ;;
            *) compgen -f -- "$word" ;;
        esac
    )
}

complete -o filenames -F _launchlog_report launchlog-report

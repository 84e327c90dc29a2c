# shellcheck shell=bash
# Completion of launchlog-report for bash.

_launchlog_report() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} completion
    COMPREPLY=()
    # A time is the user's own.
    [[ $before != --now && $before != --since && $before != --until ]] || return 0
    while IFS= read -r completion; do
        COMPREPLY+=("$completion")
    done < <(
        case $before,$word in
            --sort,*)
                compgen -W 'marked name restarts per-minute first-end last-end' -- "$word"
                ;;
            *,-*)
                compgen -W '--follow --since --until --json --ends --html --metrics
                    --list --sort --fail-if-marked --now --help --version' -- "$word"
                ;;
            *) compgen -f -- "$word" ;;
        esac
    )
}

complete -o filenames -F _launchlog_report launchlog-report

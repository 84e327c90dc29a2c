# shellcheck shell=bash
# Completion of launchlist-export for bash.

_launchlist_export() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} completion
    COMPREPLY=()
    # The name of an image is the user's own.
    [[ $before != --image ]] || return 0
    while IFS= read -r completion; do
        COMPREPLY+=("$completion")
    done < <(
        case $before,$word in
            --directory,*) compgen -d -- "$word" ;;
            *,-*) compgen -W '--directory --image --help --version' -- "$word" ;;
            *)
                if [[ " ${COMP_WORDS[*]:1:COMP_CWORD - 1} " =~ \ (systemd|kube|supervisord|launchd)\  ]]; then
                    compgen -d -- "$word"
                    compgen -f -X '!*.json' -- "$word"
                else
                    compgen -W 'systemd kube supervisord launchd' -- "$word"
                fi
                ;;
        esac
    )
}

complete -o filenames -F _launchlist_export launchlist-export

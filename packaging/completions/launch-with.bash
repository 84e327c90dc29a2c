# shellcheck shell=bash
# Completion of launch-with for bash.

_launch_with() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} completion
    COMPREPLY=()
    while IFS= read -r completion; do
        COMPREPLY+=("$completion")
    done < <(
        case $before,$word in
            --stop-signal,*) compgen -W 'HUP INT QUIT TERM USR1 USR2' -- "$word" ;;
            --limit,*)
                compgen -W 'as= core= cpu= data= fsize= memlock= nofile= nproc= stack=' \
                    -- "$word"
                ;;
            --directory,*) compgen -d -- "$word" ;;
            --at-most-every,* | --grace,* | --lock,* | --tail,* | --environment,* | \
                --umask,* | --nice,*) ;;
            *,-*)
                compgen -W '--at-most-every --grace --stop-signal --lock --output --error
                    --tail --directory --environment --umask --limit --nice --help
                    --version' -- "$word"
                ;;
            *) compgen -f -- "$word" ;;
        esac
    )
}

complete -o filenames -F _launch_with launch-with

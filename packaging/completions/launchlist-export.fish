# Completion of launchlist-export for fish.

set -l formats systemd kube supervisord launchd
complete -c launchlist-export -f -n "not __fish_seen_subcommand_from $formats" -a "$formats"
complete -c launchlist-export -f -k -n "__fish_seen_subcommand_from $formats" \
    -a '(__fish_complete_suffix .json | string match -r "^.*(?:\.json|/)\$")'
complete -c launchlist-export -l directory -x -a '(__fish_complete_directories)' -d 'write the files into this directory'
complete -c launchlist-export -l image -x -d 'with kube, the image that has the programs'
complete -c launchlist-export -s h -l help -d 'print a short help'
complete -c launchlist-export -l version -d 'print the version'

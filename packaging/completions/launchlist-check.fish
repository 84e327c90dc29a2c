# Completion of launchlist-check for fish.

complete -c launchlist-check -f -k \
    -a '(__fish_complete_suffix .json | string match -r "^.*(?:\.json|/)\$")'
complete -c launchlist-check -l json -d 'print one JSON document, for machines'
complete -c launchlist-check -l strict -d 'let warnings count as errors do'
complete -c launchlist-check -l all -d 'show all findings, not the first 20 of each kind'
complete -c launchlist-check -l no-programs -d 'leave out what depends on this machine'
complete -c launchlist-check -s h -l help -d 'print a short help'
complete -c launchlist-check -l version -d 'print the version'

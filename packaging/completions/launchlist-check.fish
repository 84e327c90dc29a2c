# Completion of launchlist-check for fish.

complete -c launchlist-check -f -k \
    -a '(__fish_complete_suffix .json | string match -r "^.*(?:\.json|/)\$")'
complete -c launchlist-check -l json -d 'print one JSON document, for machines'
complete -c launchlist-check -l strict -d 'count warnings as errors'
complete -c launchlist-check -l all -d 'show all findings, not only the first 20 of each kind'
complete -c launchlist-check -l no-programs -d 'check a list for another machine'
complete -c launchlist-check -s h -l help -d 'print a short help'
complete -c launchlist-check -l version -d 'print the version'

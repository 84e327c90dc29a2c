# Completion of launcher-status for fish.

complete -c launcher-status -f -k \
    -a '(__fish_complete_suffix .json | string match -r "^.*(?:\.json|/)\$")'
complete -c launcher-status -l json -d 'print one JSON document, for machines'
complete -c launcher-status -l watch -d 'print the report again whenever it changes'
complete -c launcher-status -s h -l help -d 'print a short help'
complete -c launcher-status -l version -d 'print the version'

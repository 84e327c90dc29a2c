# Completion of launcher-stop for fish.

complete -c launcher-stop -f -k \
    -a '(__fish_complete_suffix .json | string match -r "^.*(?:\.json|/)\$")'
complete -c launcher-stop -l leftovers -d 'end what launchers with this list left when they died'
complete -c launcher-stop -s h -l help -d 'print a short help'
complete -c launcher-stop -l version -d 'print the version'

# Completion of tamlin-launcher for fish.

complete -c tamlin-launcher -f -k \
    -a '(__fish_complete_suffix .json | string match -r "^.*(?:\.json|/)\$")'
complete -c tamlin-launcher -l anyway -d 'start the launcher even if the list has errors'
complete -c tamlin-launcher -s h -l help -d 'print a short help'

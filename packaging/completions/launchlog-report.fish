# Completion of launchlog-report for fish.

complete -c launchlog-report -l follow -d 'print the report again whenever it changes'
complete -c launchlog-report -l since -x -d 'count only what happened at this time or later'
complete -c launchlog-report -l until -x -d 'count only what happened at this time or earlier'
complete -c launchlog-report -l json -d 'print one JSON document, for machines'
complete -c launchlog-report -l ends -d 'print each end as a JSON object on a line of its own'
complete -c launchlog-report -l html -r -d 'write a page for a browser'
complete -c launchlog-report -l sort -x -a 'marked name restarts per-minute first-end last-end' -d 'order items by this'
complete -c launchlog-report -l fail-if-marked -d 'exit with status 3 if an item is marked'
complete -c launchlog-report -l now -x -d 'use this as the current time'
complete -c launchlog-report -s h -l help -d 'print a short help'
complete -c launchlog-report -l version -d 'print the version'

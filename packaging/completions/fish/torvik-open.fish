# Completion for torvik-open.

complete -c torvik-open -f -k -a '(__fish_complete_suffix .etl)'
complete -c torvik-open -l version -d 'Print the version'

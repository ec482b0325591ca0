# Completion for torvik-open.

function __torvik_open_jobs
    __fish_complete_path (commandline -ct) | string match -r '.*(?:\.etl|/)(?:\t.*)?$'
end

complete -c torvik-open -f -a '(__torvik_open_jobs)'
complete -c torvik-open -l version -d 'Print the version'

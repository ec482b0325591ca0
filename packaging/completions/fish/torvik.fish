# Completion for torvik.

function __torvik_jobs
    __fish_complete_path (commandline -ct) | string match -r '.*(?:\.etl|/)(?:\t.*)?$'
end

complete -c torvik -f
complete -c torvik -o configfile -x -a '(__torvik_jobs)' -d 'Job file to run'
complete -c torvik -o statusfile -r -F -d 'File that gets the outcome'
complete -c torvik -o logfile -r -F -d 'File that gets a copy of the exception log'
complete -c torvik -o config -r -F -d 'File that gets the command line of a job that is prepared'
complete -c torvik -o help -d 'Print the usage'
complete -c torvik -l help -d 'Print how it is started'
complete -c torvik -l version -d 'Print the version'

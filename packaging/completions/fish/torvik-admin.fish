# Completion for torvik-admin, which knows itself what may come next.

function __torvik_admin_complete
    set -l words (commandline -opc)
    set -l last (commandline -ct)
    for line in ($words[1] __complete $words[2..-1] "$last" 2>/dev/null)
        switch $line
            case :jobs
                __fish_complete_path "$last" | string match -r '.*(?:\.etl|/)(?:\t.*)?$'
            case :files
                __fish_complete_path "$last"
            case :directories
                __fish_complete_directories "$last"
            case '*'
                echo $line
        end
    end
end

complete -c torvik-admin -f -a '(__torvik_admin_complete)'

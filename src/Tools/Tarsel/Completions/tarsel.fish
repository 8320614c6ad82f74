# fish completion for tarsel: the program itself knows what may follow.
function __tarsel_complete
    set -l word (commandline -ct)
    for line in (tarsel complete -- (commandline -opc)[2..-1] "$word" 2>/dev/null)
        if test "$line" = \tfiles
            __fish_complete_path "$word"
        else
            echo $line
        end
    end
end
complete -c tarsel -f -a '(__tarsel_complete)'

# fish completion for tarsel: the program itself knows what may follow.
complete -c tarsel -a '(tarsel complete -- (commandline -opc)[2..-1] (commandline -ct) 2>/dev/null)'

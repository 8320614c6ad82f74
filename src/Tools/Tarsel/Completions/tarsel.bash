# bash completion for tarsel: the program itself knows what may follow.
_tarsel() {
    local line
    COMPREPLY=()
    while IFS= read -r line; do
        if [[ $line == $'\tfiles' ]]; then
            mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -f -- "${COMP_WORDS[COMP_CWORD]}")
            compopt -o filenames 2>/dev/null
        else
            COMPREPLY+=("${line%%$'\t'*}")
        fi
    done < <("$1" complete -- "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
    # A key wants its value, an effect perhaps settings.
    [[ ${#COMPREPLY[@]} -ne 1 || ${COMPREPLY[0]} != *[=/] ]] || compopt -o nospace 2>/dev/null
}
complete -F _tarsel tarsel

# bash completion for tarsel: the program itself knows what may follow.
_tarsel() {
    local line
    COMPREPLY=()
    while IFS= read -r line; do
        COMPREPLY+=("${line%%$'\t'*}")
    done < <("$1" complete -- "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
    # A key wants its value, an effect perhaps settings.
    [[ ${#COMPREPLY[@]} -ne 1 || ${COMPREPLY[0]} != *= ]] || compopt -o nospace 2>/dev/null
}
complete -o default -F _tarsel tarsel

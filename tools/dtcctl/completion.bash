# bash completion for dtcctl(1), which knows its own words. Where it has none to offer, files are completed.

_dtcctl()
{
    local words=("${COMP_WORDS[@]:1:COMP_CWORD}")
    # "=" divides words: right behind it the word to complete is empty.
    [[ ${words[-1]} != = ]] || words+=('')
    mapfile -t COMPREPLY < <("$1" complete -- "${words[@]}" 2>/dev/null)
    [[ ${COMPREPLY[*]} != *= ]] || compopt -o nospace
}
complete -o default -F _dtcctl dtcctl

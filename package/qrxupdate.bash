# bash completion for qrxupdate, whose options are fixed
_qrxupdate() {
    local current=${COMP_WORDS[COMP_CWORD]}
    if [[ ${COMP_WORDS[COMP_CWORD - 1]} == -[do] ]]; then
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    else
        mapfile -t COMPREPLY < <(compgen -W '-i -u -o -d -h -f -v' -- "$current")
    fi
}
complete -F _qrxupdate qrxupdate

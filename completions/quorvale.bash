# SPDX-License-Identifier: MIT
# Completion of the player for bash.
_quorvale_play() {
    local word=${COMP_WORDS[COMP_CWORD]}
    local IFS=$'\n'
    case $word in
    -*) mapfile -t COMPREPLY < <(compgen -W $'-forcepbo\n--help\n--version' -- "$word") ;;
    *)
        [ "$1" = quorvale-play ] || return
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(
            compgen -d -- "$word"
            compgen -f -X '!*dpk' -- "$word"
        )
        ;;
    esac
}
_quorvale() {
    [ "$COMP_CWORD" -ne 1 ] || mapfile -t COMPREPLY < <(compgen -W -forcepbo -- "${COMP_WORDS[1]}")
}
complete -F _quorvale quorvale
complete -F _quorvale_play quorvale-play quorvale-piece

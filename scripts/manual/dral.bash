# Completion of dral's command line in bash. Written by scripts/manual.py; do not edit.

# Folders, and files with an ending.
_dral_files() { # WORD [ENDING]
    local IFS=$'\n'
    compopt -o filenames 2>/dev/null
    COMPREPLY=($(compgen -d -- "$1") $([ -z "${2-}" ] || compgen -f -X "!*.$2" -- "$1"))
}

_dral() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} words
    COMPREPLY=()
    words='
@WORDS@
'
    case $before in
@CASES@
    *) COMPREPLY=($(compgen -W "$words" -- "$word")) ;;
    esac
}

complete -F _dral dral

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
-uci -c -noise -quiet -d -t -n -nps -cfg -hash -threads -book -tbpath -log -strict -tbx bench -bench -bench2 -pbench
-anepd -against -scan_pgn1 -scan_pgn2 -scan_pgn3 -scan_pgn4 -review -report -mkbook -mktune -tune -tune4 -heldout
-weights -resume -parallel -h --help --version --tables -match -mkconfig -numa -uci_extra
'
    case $before in
    -cfg) _dral_files "$word" cfg ;;
    -book) _dral_files "$word" bin ;;
    -anepd|-mktune|-tune|-heldout) _dral_files "$word" epd ;;
    -against) _dral_files "$word" tsv ;;
    -scan_pgn1|-scan_pgn2|-scan_pgn3|-scan_pgn4|-review|-report|-mkbook|-match) _dral_files "$word" pgn ;;
    -tbpath) _dral_files "$word" ;;
    -noise|-d|-t|-n|-nps|-hash|-threads|-weights|-parallel) ;;  # a number
    *) COMPREPLY=($(compgen -W "$words" -- "$word")) ;;
    esac
}

complete -F _dral dral

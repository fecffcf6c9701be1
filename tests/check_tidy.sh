#!/bin/bash
# Runs clang-tidy, with the checks of .clang-tidy, over all sources of one or more build folders, on all cores:
#
#   tests/check_tidy.sh BUILD_DIRECTORY...           every source of these folders, each once
#   tests/check_tidy.sh -f TEXT BUILD_DIRECTORY...   only those whose path holds the text
#
# The folders are configured with clang and CMAKE_EXPORT_COMPILE_COMMANDS=ON, as the preset asan is; they need
# not be built. Prints the findings; exit 1 when there are any.
set -u
export LC_ALL=C

usage() { sed -n '2,7s/^# \{0,1\}//p' "$0" >&2; exit 2; }

only=
if [ "${1:-}" = "-f" ]; then
    [ $# -ge 2 ] || usage
    only=$2
    shift 2
fi
[ $# -gt 0 ] || usage
tidy=$(command -v clang-tidy-14 || command -v clang-tidy) || { echo "clang-tidy is not installed" >&2; exit 2; }
export tidy

# Lines "SIZE FILE FOLDER" of what the folders compile, every file once, the large ones first.
list_sources() {
    local folder file
    for folder in "$@"; do
        if [ ! -f "$folder/compile_commands.json" ]; then
            echo "no compile_commands.json in $folder" >&2
            return 2
        fi
        sed -n 's/^ *"file": "\(.*\)",\{0,1\}$/\1/p' "$folder/compile_commands.json" | while IFS= read -r file; do
            [ ! -f "$file" ] || echo "$(wc -c <"$file") $file $folder"
        done
    done | awk -v only="$only" 'index($2, only) > 0 && !seen[$2]++' | sort -k1,1nr
}

# check_source FILE FOLDER: says what clang-tidy finds in one piece, so that the cores do not mix their lines.
check_source() {
    local output status
    output=$("$tidy" -quiet -p "$2" "$1" 2>&1)
    status=$?
    output=$(grep -v -E '^[0-9]+ warnings?( and [0-9]+ errors?)? generated\.$|^[0-9]+ warnings? treated as errors?$' <<<"$output")
    [ -z "$output" ] || printf '%s\n' "$output"
    return $status
}
export -f check_source

sources=$(list_sources "$@") || exit 2
[ -n "$sources" ] || { echo "no sources" >&2; exit 2; }
awk '{ print $2, $3 }' <<<"$sources" | xargs -P "$(nproc)" -n 2 bash -c 'check_source "$0" "$1"' || exit 1
echo "clang-tidy: $(wc -l <<<"$sources") sources without a finding"

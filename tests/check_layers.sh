#!/bin/bash
# Includes point down: fails when a file below src/ includes one of a higher floor, one of another folder on its own
# floor, one that does not exist, or when includes run in a circle. Only the folders of the systems below platform/ know
# that there are systems.
#
#   tests/check_layers.sh [SOURCE_DIR]    checks a source tree, by default src/ of this checkout
#   tests/check_layers.sh --self-test     proves on small trees that each fault is found
set -u
export LC_ALL=C

# Floor of each folder. main.cpp, alone in the top folder (.), stands above all.
floors="platform=1 base=2 board=3 games=4 eval=5 tablebase=5 book=5 search=6 engine=7 tools=8 frontend=9 .=10"

system_names='_WIN32|__linux__|__EMSCRIPTEN|__MINGW|<(windows|unistd|sched|poll|fcntl|io|sys/[a-z]+)\.h>|"platform/(browser|linux|windows)/'

# Prints one line "FILE:LINE:INCLUDED" per project include of the tree in the current directory. `<...>` counts too
# when it names a file of the tree.
list_includes() {
    local file line kind name
    grep -rnoE --include='*.h' --include='*.cpp' '^[[:blank:]]*#[[:blank:]]*include[[:blank:]]*["<][^">]*' . | sort |
        sed -E 's|^\./([^:]*):([0-9]*):[^"<]*(["<])(.*)|\1 \2 \3 \4|' |
        while read -r file line kind name; do
            if [ "$kind" = '"' ] && [ -f "$(dirname "$file")/$name" ]; then
                name=$(realpath --relative-to=. "$(dirname "$file")/$name")
            elif [ "$kind" = '<' ] && [ ! -f "$name" ]; then
                continue
            fi
            [ -f "$name" ] || name=?$name
            echo "$file:$line:$name"
        done
}

check_tree() {
    local includes faults circle systems
    cd "$1" || return 2
    includes=$(list_includes)
    [ -n "$includes" ] || { echo "no includes in $1"; return 2; }
    faults=$(awk -F: -v floors="$floors" '
        function folder(path) { return path ~ /\// ? substr(path, 1, index(path, "/") - 1) : "." }
        BEGIN {
            for (i = split(floors, pairs, " "); i > 0; --i) { split(pairs[i], pair, "="); floor[pair[1]] = pair[2] }
        }
        {
            from = folder($1); to = folder($3); where = $1 ":" $2 ": "
            if ($3 ~ /^\?/)
                print where "no such file: " substr($3, 2)
            else if (!(from in floor) || !(to in floor))
                print where "folder without a floor: " (from in floor ? to : from)
            else if (floor[to] > floor[from])
                print where "points up: " from " (floor " floor[from] ") includes " $3 " (floor " floor[to] ")"
            else if (floor[to] == floor[from] && from != to)
                print where "points sideways: " from " includes " $3
            else if ($1 == $3)
                print where "includes itself"
        }' <<<"$includes")
    systems=$(grep -rnE --include='*.h' --include='*.cpp' "$system_names" . | grep -vE '^\./platform/((browser|linux|windows)/|threads\.h)')
    [ -z "$systems" ] || faults+=${faults:+$'\n'}"knows a system:"$'\n'"$systems"
    circle=$(awk -F: '{ print $1, $3 }' <<<"$includes" | tsort 2>&1 >/dev/null)
    [ -z "$circle" ] || faults+=${faults:+$'\n'}"includes run in a circle:"$'\n'"${circle//tsort:/   }"
    [ -z "$faults" ] || { echo "$faults"; return 1; }
    echo "$(wc -l <<<"$includes") includes, all of them point down"
}

# Runs check_tree on a small good tree with one line added to one file; the output must hold the expected words.
expect() {
    local file=$1 added=$2 expected=$3 tree=$scratch/tree output status
    rm -rf "$tree"
    mkdir -p "$tree"/{platform,board,eval,book,search,attic}
    echo '#pragma once' | tee "$tree"/platform/clock.h "$tree"/eval/eval.h "$tree"/book/book.h >"$tree"/board/types.h
    printf '%s\n' '#pragma once' '#include "board/types.h"' '#include <vector>' >"$tree"/board/position.h
    printf '%s\n' '#include "position.h"' '#include "platform/clock.h"' >"$tree"/board/position.cpp
    printf '%s\n' '#pragma once' '#include "board/position.h"' '#include "eval/eval.h"' >"$tree"/search/search.h
    echo '#include "search/search.h"' >"$tree"/main.cpp
    [ -z "$file" ] || echo "$added" >>"$tree/$file"
    output=$(check_tree "$tree")
    status=$?
    if [ $status -eq $((${#file} > 0)) ] && [[ $output == *"$expected"* ]]; then return; fi
    echo "self-test failed: '$added' in '$file' gave status $status and:"$'\n'"$output"
    failed=1
}

self_test() {
    failed=0 scratch=$(mktemp -d) || exit 2
    trap 'rm -rf "$scratch"' EXIT
    expect ''               ''                               'all of them point down'
    expect board/position.h '#include "search/search.h"'     'board/position.h:4: points up'
    expect board/types.h    '  #  include "../eval/eval.h"'  'board/types.h:2: points up'
    expect board/types.h    '#include <eval/eval.h>'         'board/types.h:2: points up'
    expect platform/clock.h '#include "board/types.h"'       'platform/clock.h:2: points up'
    expect book/book.h      '#include "eval/eval.h"'         'book/book.h:2: points sideways'
    expect board/types.h    '#include "position.h"'          'includes run in a circle'
    expect board/types.h    '#include "board/types.h"'       'includes itself'
    expect board/types.h    '#include "board/none.h"'        'no such file: board/none.h'
    expect board/types.h    '#include <sys/mman.h>'          'board/types.h:2:#include'
    expect platform/clock.h '#ifdef _WIN32'                  'platform/clock.h:2:#ifdef'
    expect attic/old.h      '#include "board/types.h"'       'folder without a floor: attic'
    [ $failed -eq 0 ] && echo "every fault was found"
}

case "${1:-}" in
--self-test) self_test ;;
*) check_tree "${1:-$(dirname "$(readlink -f "$0")")/../src}" ;;
esac

#!/usr/bin/env bash
# Builds the program from an archive with nothing but make and the compiler, and compares it with what testers are
# promised: the bench signature, the commit, and a last line of `bench` that reads right.
#   tests/check_make.sh [ARGUMENTS OF MAKE]     with DRAL_RUNNER=wine and CXX=x86_64-w64-mingw32-g++, for example
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# As a framework gets it: the files that git knows, as they are now, without git.
commit=$(git -C "$here" stash create 2>/dev/null) || true
commit=${commit:-$(git -C "$here" rev-parse HEAD 2>/dev/null)} || true
if [ -n "$commit" ]; then
    git -C "$here/.." archive "$commit" | tar -x -C "$folder"
else
    cp -r "$here"/../{Makefile,src,tests,scripts} "$folder"  # this is an archive
fi
make -C "$folder" -j "$(nproc)" EXE=engine CXX="${CXX:-g++}" "$@" >"$folder/log" 2>&1 || { tail -n 50 "$folder/log"; exit 1; }
engine=("$folder"/engine*)
[ -z "${DRAL_RUNNER:-}" ] || engine=("$DRAL_RUNNER" "${engine[@]}")

"${engine[@]}" --version | tr -d '\r' | grep -F "(commit ${commit:0:12}"
"$here/check_bench.sh" "${engine[@]}"

# Frameworks turn what is neither letter nor digit into blanks, go through the lines from the last, and take the first
# "<number> nodes" or "nodes <number>", and the first "<number> nps" or "nps <number>".
"${engine[@]}" bench 8 | python3 -c '
import re, sys
def first(word):
    for line in lines[::-1]:
        found = re.search(rf"\d+\s+{word}|{word}\s+\d+", re.sub(r"[^a-zA-Z0-9 ]+", " ", line), re.I)
        if found: return int(re.search(r"\d+", found.group()).group())
lines = sys.stdin.read().strip().splitlines()
nodes, nps = first("nodes"), first("nps")
said = re.search(r"nodes= (\d+), nps= (\d+)", lines[-2])
sys.exit(None if [nodes, nps] == [int(n) for n in said.groups()] else f"frameworks read {nodes} nodes, {nps} nps")'

# For testers that tune: the weights are options, and do not change the search by being listed.
make -C "$folder" -j "$(nproc)" EXE=tuner TUNE=1 LTO=no CXX="${CXX:-g++}" "$@" >"$folder/log" 2>&1 || { tail -n 50 "$folder/log"; exit 1; }
tuner=("$folder"/tuner*)
[ -z "${DRAL_RUNNER:-}" ] || tuner=("$DRAL_RUNNER" "${tuner[@]}")
printf 'setoption name hung_pawn_en value -30\nuci\nquit\n' | "${tuner[@]}" | tr -d '\r' |
    grep -x 'option name hung_pawn_en type spin default -30 min -200 max 200'
"$here/check_bench.sh" "${tuner[@]}"
echo "make: as CMake builds it, and testers read it right"

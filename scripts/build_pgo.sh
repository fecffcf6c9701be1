#!/bin/bash
# Builds build/pgo/dral with profile-guided optimisation: a program that counts, a training run, a program for what was
# counted. Needs clang and its llvm-profdata; exits with 1 where they are missing or something fails.
#
# Everything goes to stderr.
set -eu
exec </dev/null >&2

root=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)
training=$root/build/training
merge=$(clang++ -print-prog-name=llvm-profdata)
command -v "$merge" >/dev/null

# A checkout that has moved is configured anew.
configure() { # PRESET
    local fresh=()
    [ ! -e "$root/build/$1/CMakeCache.txt" ] ||
        grep -q -x -F "CMAKE_HOME_DIRECTORY:INTERNAL=$root" "$root/build/$1/CMakeCache.txt" || fresh=(--fresh)
    cmake -S "$root" --preset "$1" "${fresh[@]}"
}

build() { # PRESET [arguments of the build]
    configure "$1"
    cmake --build "$root/build/$1" --target dral -j "$(nproc)" "${@:2}"
}

build training
rm -f "$training"/*.profraw
cd "$training"
run() { # NAME [arguments of dral] < what it reads
    LLVM_PROFILE_FILE=$training/$1.profraw ./dral "${@:2}"
}
run bench -bench -d 12 </dev/null
# What else should stay fast: several lines, fast games, endings with tables, and the console's counting of moves.
{
    printf '%s\n' 'setoption name MultiPV value 4' \
        'position fen r1bq1rk1/pp2bppp/2n1pn2/2pp4/3P1B2/2PBPN2/PP1N1PPP/R2QK2R w KQ - 4 8' 'go depth 10'
    sleep 3
    echo quit
} | run lines
{
    game=
    for move in e2e4 c7c5 g1f3 d7d6 d2d4 c5d4 f3d4 g8f6 b1c3 a7a6 f1e2 e7e5 d4b3 f8e7 e1g1 e8g8 c1e3 c8e6 c3d5 b8d7 \
        d1d3 e6d5 e4d5 a8c8 c2c4 f6e8 f1c1 f7f5 f2f3 e7g5 e3g5 d8g5 d3e3 g5e3; do
        game+=" $move"
        printf '%s\n' "position startpos moves$game" 'go wtime 2000 btime 2000 winc 20 binc 20'
        sleep 0.1
    done
    echo quit
} | run games
{
    printf '%s\n' "setoption name SyzygyPath value $root/tests/data/syzygy" 'position fen 8/8/4k3/8/2B5/1P1b4/4K3/8 w - - 0 1' \
        'go depth 18'
    sleep 2
    echo quit
} | run endings
printf 'perft 5\nquit\n' | run console -c
"$merge" merge -o dral.profdata {bench,lines,games,endings,console}.profraw
build pgo --clean-first

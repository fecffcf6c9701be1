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
LLVM_PROFILE_FILE=$training/bench.profraw ./dral -bench -d 12
# What else should stay fast.
printf 'perft 5\nquit\n' | LLVM_PROFILE_FILE=$training/console.profraw ./dral -c
"$merge" merge -o dral.profdata bench.profraw console.profraw
build pgo --clean-first

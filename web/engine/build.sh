#!/usr/bin/env bash
# Builds the engine as WebAssembly with em++ (Debian's emscripten 3.1.6 and node-acorn) in build/: "threads" for pages
# that are cross-origin isolated, "single" for all others.
#
#   web/engine/build.sh [threads|single] [ARGUMENTS OF MAKE]
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
builds=(threads single)
case ${1:-} in threads | single) builds=("$1"); shift ;; esac
mkdir -p "$here/build"
# Debian's modules, for another node as well.
export NODE_PATH=/usr/share/nodejs${NODE_PATH:+:$NODE_PATH}

# The worker's script starts the program and feeds it. Memory begins with what the default hash table needs and grows.
link="-sMODULARIZE -sEXPORT_NAME=createModule -sENVIRONMENT=worker -sINVOKE_RUN=0 -sEXIT_RUNTIME
    -sEXPORTED_RUNTIME_METHODS=callMain,FS -sEXPORTED_FUNCTIONS=_main,_malloc,_free -sFORCE_FILESYSTEM -lworkerfs.js
    -sALLOW_MEMORY_GROWTH -sINITIAL_MEMORY=128MB -sMAXIMUM_MEMORY=2GB -sTOTAL_STACK=2MB"
# Workers for the program, a search thread and the one that touches the hash table are there from the start.
threads="-sPROXY_TO_PTHREAD -sPTHREAD_POOL_SIZE=3 -sDEFAULT_PTHREAD_STACK_SIZE=2MB -Wno-pthreads-mem-growth"
# A wait puts the frames of all that wait aside. The compiler takes every call by pointer for one; never_wait.txt names
# the procedures that call so and never wait, and makes the search a third faster. One that waits must not be there.
single="-sASYNCIFY -sASYNCIFY_STACK_SIZE=65536 -sASYNCIFY_REMOVE=@web/engine/never_wait.txt"

for build in "${builds[@]}"; do
    make -C "$here/../.." -j "$(nproc)" CXX=em++ ARCH= LTO=no PLAIN_BUILD="build-web-$build" \
        EXE="web/engine/build/$build.js" THREADS="$([ "$build" = single ] || echo -pthread)" LDFLAGS="$(echo $link ${!build})" "$@"
done
ls -l "$here"/build

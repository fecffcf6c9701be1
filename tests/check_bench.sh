#!/usr/bin/env bash
# Compares the node count of the benchmark at depth 8 with tests/bench_signature: every compiler and build must search the
# same tree.
#   tests/check_bench.sh COMMAND...          compare; exit 1 when it differs. COMMAND: build/release/dral, or
#                                            qemu-aarch64 build/arm64/dral
#   tests/check_bench.sh --print COMMAND...  print the count only
#   tests/check_bench.sh --commits           compare the "Bench: N" of the newest commit that has one with the file;
#                                            nothing to do outside a git checkout
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)

check_commits() {
    local commit said stated
    if ! git -C "$here" ls-files --error-unmatch bench_signature >/dev/null 2>&1; then
        echo "bench: no git checkout, no commit messages"
        return 0
    fi
    commit=$(git -C "$here" log -n 1 --format=%H --extended-regexp --grep='^Bench: [0-9]+$')
    if [ -z "$commit" ]; then
        echo "bench: no commit names a count"
        return 0
    fi
    said=$(git -C "$here" log -n 1 --format=%B "$commit" | sed -n 's/^Bench: \([0-9]*\)$/\1/p' | tail -n 1)
    stated=$(cat "$here/bench_signature")
    echo "bench: commit ${commit:0:9} says $said, tests/bench_signature $stated"
    [ "$said" = "$stated" ]
}

print_only=0
case "${1:-}" in
--commits)
    check_commits
    exit
    ;;
--print)
    print_only=1
    shift
    ;;
esac

nodes=$("$@" -bench -d 8 | sed -n 's/^total time=.* nodes= \([0-9]*\),.*/\1/p')
if [ "$print_only" = 1 ]; then
    echo "${nodes:?no node count}"
    exit 0
fi
expected=$(cat "$here/bench_signature")
echo "bench: ${nodes:-no} nodes, expected $expected"
[ "$nodes" = "$expected" ]

#!/usr/bin/env bash
# Compares the node count of the benchmark at depth 8 with tests/bench_signature: every compiler and build must search the
# same tree.
#   tests/check_bench.sh BINARY            compare; exit 1 when it differs
#   tests/check_bench.sh --print BINARY    print the count only
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
print_only=0
if [ "${1:-}" = "--print" ]; then
    print_only=1
    shift
fi

nodes=$("$1" -bench -d 8 | sed -n 's/^total time=.* nodes= \([0-9]*\),.*/\1/p')
if [ "$print_only" = 1 ]; then
    echo "${nodes:?no node count}"
    exit 0
fi
expected=$(cat "$here/bench_signature")
echo "bench: ${nodes:-no} nodes, expected $expected"
[ "$nodes" = "$expected" ]

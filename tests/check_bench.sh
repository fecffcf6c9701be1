#!/usr/bin/env bash
# Compares the node count of a fixed-depth, one-thread search of the benchmark positions with tests/bench_signature: every
# compiler and build must search the same tree.
#   tests/check_bench.sh BINARY            compare; exit 1 when it differs
#   tests/check_bench.sh --print BINARY    print the count only
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
depth=8
print_only=0
if [ "${1:-}" = "--print" ]; then
    print_only=1
    shift
fi
binary=$1

total=0
while IFS= read -r fen; do
    output=$(printf 'position fen %s\ngo depth %d\n' "$fen" "$depth" | "$binary")
    nodes=$(printf '%s\n' "$output" | sed -n 's/^info depth .* nodes \([0-9]*\) .*/\1/p' | tail -n 1)
    total=$((total + ${nodes:?no nodes for "$fen"}))
done <"$here/bench_positions.txt"

if [ "$print_only" = 1 ]; then
    echo "$total"
    exit 0
fi
expected=$(cat "$here/bench_signature")
echo "bench: $total nodes at depth $depth, expected $expected"
[ "$total" = "$expected" ]

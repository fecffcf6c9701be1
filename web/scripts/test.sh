#!/bin/bash
# Runs the tests one file after the other: each has a browser of its own. npm test [FILE...]
cd "$(dirname "$0")/.." || exit 1
[ $# -gt 0 ] || set -- engine/test/*.test.js tests/*.test.js
for file in "$@"; do
    node --test "$file" || exit 1
done

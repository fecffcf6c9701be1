#!/bin/bash
# Runs the fuzz targets of a build one after the other, each for some seconds, from the seeds in tests/data:
#
#   tests/fuzz/run.sh BUILD_DIRECTORY SECONDS [TARGET...]
#
# Fails at the first target that finds a fault, and names the input that shows it. What was learnt is kept in
# BUILD_DIRECTORY/corpus, so that a long run goes on from a short one.
set -u

[ $# -ge 2 ] || { sed -n '2,7s/^# \{0,1\}//p' "$0"; exit 2; }
data=$(cd "$(dirname "${BASH_SOURCE[0]}")/../data" && pwd)
build=$(cd "$1" && pwd) || exit 2
seconds=$2
shift 2
[ $# -gt 0 ] || set -- position lines files games book tablebase

# The first byte of a table's seed is the number of its name in tablebase.cpp.
mkdir -p "$build/corpus/tablebase" "$build/faults"
cp -r "$data/fuzz/." "$build/corpus"
number=0
for name in KQvK KRvKP KPvK KPPvK KPvKP KNNvK KQvKR KRvKR; do
    for file in "$data/syzygy/$name".rtb?; do
        { printf "\\x0$number"; cat "$file"; } >"$build/corpus/tablebase/${file##*/}"
    done
    number=$((number + 1))
done

for target; do
    log=$build/fuzz_$target.log
    # Odd lines make the engine complain on standard error as well; only the end of the log tells.
    if ! "$build/tests/fuzz/fuzz_$target" -max_total_time="$seconds" -max_len=8192 -timeout=20 -rss_limit_mb=4096 \
        -artifact_prefix="$build/faults/$target-" -print_final_stats=1 "$build/corpus/$target" >"$log" 2>&1; then
        echo "fuzz $target: FAILED"
        tail -n 40 "$log" | cut -c 1-200
        exit 1
    fi
    echo "fuzz $target: $(sed -n 's/^stat::number_of_executed_units: *//p' "$log") inputs"
done

#!/bin/bash
# Runs the fuzz targets of a build one after the other, each for some seconds, from small seeds:
#
#   tests/fuzz/run.sh BUILD_DIRECTORY SECONDS [TARGET...]
#
# Fails at the first target that finds a fault, and names the input that shows it. What was learnt is kept in
# BUILD_DIRECTORY/corpus, so that a long run goes on from a short one.
set -u

[ $# -ge 2 ] || { sed -n '2,7s/^# \{0,1\}//p' "$0"; exit 2; }
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
build=$(cd "$1" && pwd) || exit 2
seconds=$2
shift 2
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=(fen uci console san files config book tablebase)
data=${DRAL_TEST_DATA:-$here/../../../shared/data}

seed() { # TARGET NAME: a seed from standard input
    mkdir -p "$build/corpus/$1" && cat >"$build/corpus/$1/seed_$2"
}

printf 'r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1' | seed fen middle
printf '8/P6k/8/3pP3/8/8/7p/K7 w - d6' | seed fen pawns
printf 'uci\nisready\nposition startpos moves e2e4 e7e5\ngo wtime 100 btime 100 winc 1 movestogo 3\nstop\n' | seed uci clock
printf 'setoption name MultiPV value 3\nposition fen 8/8/8/3k4/8/8/1R6/K7 w - -\ngo ponder\nponderhit\ngo depth 3\n' | seed uci ponder
printf 'setoption name Mtl_Knight value 400,380\nucinewgame\ngo infinite\nisready\n_show\nquit\n' | seed uci options
printf 'e4\nmove e5\n[\n]\njump 1\nload g.pgn 2\nsave\nget a\npv\nev\nself\n.\n' | seed console game
printf 'edit\n#\nw Ke1 Qd1\nb Ke8\n.\nbd\nswap\nset level 40 5:00 2\ngo 3\nlmr\nsp\nbook\nhelp\n' | seed console edit
printf 'rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -\nNf3' | seed san start
printf '8/P6k/8/3pP3/8/8/7p/K7 w - d6\na8=Q+' | seed san promotion
printf '[Event "a"]\n[Round "1"]\n[White "x"]\n[Result "1-0"]\n\n1. e4 {+0.35/18 1s} e5 {eval 12} 2. Nf3 {book} (2. d4) Nc6 $1 1-0\n' | seed files game
printf '8/8/8/3k4/8/8/1R6/K7 w - - bm Rb5+; am Kb1; c0 "Rb5=3"; ce 12; c6 9; c9 "1-0";\n' | seed files record
printf 'MultiPV = 3 # x\nMtl_Queen=1,2\nConfigFilePath = in.cfg\nUCI_Elo = 1800\nSyzygyPath=a;b\n' | seed config all
head -c 64 /dev/zero | seed book zero
if [ -d "$data/syzygy" ]; then
    number=0
    for name in KQvK KRvKP KPvK KPPvK KPvKP KNNvK KBNvK KRvKR; do
        for suffix in rtbw rtbz; do
            { printf "\\x0$number"; cat "$data/syzygy/$name.$suffix"; } | seed tablebase "$name.$suffix"
        done
        number=$((number + 1))
    done
fi

for target in "${targets[@]}"; do
    log=$build/fuzz_$target.log
    mkdir -p "$build/corpus/$target" "$build/faults"
    # Odd lines make the engine complain on standard error as well; only the end of the log tells.
    if ! "$build/tests/fuzz/fuzz_$target" -max_total_time="$seconds" -max_len=8192 -timeout=20 -rss_limit_mb=4096 \
        -artifact_prefix="$build/faults/$target-" -print_final_stats=1 "$build/corpus/$target" >"$log" 2>&1; then
        echo "fuzz $target: FAILED"
        tail -n 40 "$log" | cut -c 1-200
        exit 1
    fi
    echo "fuzz $target: $(sed -n 's/^stat::number_of_executed_units: *//p' "$log") inputs"
done

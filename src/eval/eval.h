// Static evaluation: one pass over a position gives a score in centipawns from the side to move's view.
//
// Weights (weights.h) are derived into tables (parameters.h); an evaluation reads the tables that its caller's record of a
// thread points to and fills that record's caches. The folder keeps nothing itself but the pawn ending bitbase (kpk.h),
// which is constant after start. evaluate.cpp is the pass, scratch.h what its steps share, pawn_shape.h what is kept for all
// positions with the same pawns, pieces.cpp, pawns.cpp and their neighbours the terms; display.h shows the breakdown and
// tunables.h names the weights for tuners.
#pragma once

#include <array>
#include <cstdint>

#include "base/shared_value.h"
#include "board/position.h"
#include "eval/display.h"
#include "eval/parameters.h"
#include "eval/pawn_shape.h"
#include "eval/score.h"

// What the search keeps of an evaluation at each ply.
struct EvalResult {
    std::uint16_t flags;           // RECOGNISED_DRAW
    std::int16_t threat_level[2];  // by colour, in centipawns
};
constexpr std::uint16_t RECOGNISED_DRAW = 1;

// Score returned for a side in check: no position is evaluated then.
constexpr int IN_CHECK_SCORE = -10001;

struct EvalCacheEntry {
    std::uint64_t key;
    std::int16_t threat_level[2];
    std::int16_t score;  // side to move's view
};
static_assert(sizeof(EvalCacheEntry) == 16);

struct PawnHashEntry {
    std::uint64_t key;
    ScorePair score[2];  // by colour
};
static_assert(sizeof(PawnHashEntry) == 16);

constexpr std::size_t EVAL_CACHE_SIZE = 32768;
constexpr std::size_t PAWN_HASH_SIZE = 16384;

// The part of a thread's record that the evaluation uses. Written by its thread; the counters are read by others.
struct EvalThread {
    std::array<EvalCacheEntry, EVAL_CACHE_SIZE> cache;
    std::array<PawnHashEntry, PAWN_HASH_SIZE> pawn_hash;
    PawnShapes shapes;
    const EvalTables *tables;  // set before the first evaluation; the owner outlives the thread
    std::uint32_t generation;  // of the tables that the caches were filled with
    // Depth of the thread's current iteration, 0 outside a search; the caches rest in the first ones.
    SharedValue<std::uint8_t> iteration;
    SharedValue<std::uint64_t> evaluations, cache_hits, pawn_probes, pawn_hits;
};

inline void prefetch_evaluation(const EvalThread &thread, std::uint64_t key) {
    __builtin_prefetch(&thread.cache[key % EVAL_CACHE_SIZE]);
}

// Clears cache and pawn hash when the derived tables have changed since they were filled.
void refresh_eval_caches(EvalThread &thread);

// Score of the position for its side to move. `ply`: 1 at the root. With `in_check` IN_CHECK_SCORE comes back at
// once. `display`, when given, is filled with the breakdown: at the root and outside an iteration, where the caches rest.
int evaluate(const Position &pos, EvalThread &thread, int ply, bool in_check, EvalResult &result,
             EvalDisplay *display = nullptr);

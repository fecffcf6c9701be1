// The transposition table: one table for all threads, without locks. Every entry carries a check word over its key, move
// and score; an entry that two threads wrote at once fails the check and counts as a miss.
#pragma once

#include <cstdint>

#include "base/relaxed.h"
#include "board/hash_codes.h"
#include "board/position.h"
#include "search/search.h"

enum Bound : std::uint8_t { BOUND_UPPER = 1, BOUND_LOWER = 2, BOUND_EXACT = 3 };

// An entry of 16 bytes as two words.
struct TtEntry {
    Relaxed<std::uint64_t> key_word;  // low key word | check << 32
    Relaxed<std::uint64_t>
        data_word;  // move | score << 16 | depth << 32 | bound << 40 | age << 48 | half-move clock << 56
};
static_assert(sizeof(TtEntry) == 16);
constexpr int BUCKET_SIZE = 4;
static_assert(BUCKET_SIZE * sizeof(TtEntry) == 64);

// What a probe found.
struct TtHit {
    TtEntry *entry = nullptr;  // nullptr: nothing
    Move move = NO_MOVE;
    int score = 0;  // mate scores relative to the node
    int depth = 0;
    int bound = 0;
};

// 0: the table is not used; 1: used, cleared before console searches; 2 or more: used, not cleared. Main thread.
extern Relaxed<std::uint8_t> hash_enabled;
// Age of the running search, 1..15. Main thread, between searches.
extern std::uint16_t tt_age;

// Allocates the table for settings.Hash megabytes in place of the old one and clears it if no thread is busy. False when
// there is not enough memory. Main thread, no search running.
bool tt_allocate();
void tt_free();
// Megabytes of the allocated table.
int tt_megabytes();

// Zeroes every entry, in parallel slices when there are several threads. Main thread, no thread busy.
void tt_clear();
// tt_clear when a table is in use and no thread is busy.
void tt_clear_if_idle();
// Zeroes slice `index` of `count`. Any idle pool thread.
void tt_clear_slice(int index, int count);

TtHit tt_probe(const Position &pos);
void tt_store(const Position &pos, int ply, int depth, Move move, int score, int alpha, int beta);
// Marks an entry as used by the running search.
void tt_refresh_age(TtEntry &entry);
// Brings the entries of a position into the cache.
void tt_prefetch(std::uint64_t key);

// Brings into the cache what a search of the node after `m` to `depth` will read first.
inline void prefetch_child(const SearchThread &thread, Move m, int depth) {
    const std::uint64_t key = likely_key_after(thread.position, m);
    prefetch_evaluation(thread.eval, key);
    if (depth >= 0) tt_prefetch(key);
}

// Share of a sample of entries that this search wrote, 0..1.
double hash_fill();

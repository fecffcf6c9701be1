// The transposition table: one table for all threads, without locks. Every entry carries a check word over its key, move
// and score; an entry that two threads wrote at once fails the check and counts as a miss.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/shared_value.h"
#include "board/position.h"
#include "platform/threads.h"
#include "search/bound.h"

// An entry of 16 bytes as two words.
struct TtEntry {
    SharedValue<std::uint64_t> key_word;  // low key word | check << 32
    // move | score << 16 | depth << 32 | bound << 40 | age << 48 | half-move clock << 56
    SharedValue<std::uint64_t> data_word;
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

// Written between searches by the thread that owns the engine; entries by every search thread.
struct TranspositionTable {
    TtEntry *entries = nullptr;
    std::size_t count = 0;         // without the slack
    std::uint64_t index_mask = 0;  // the largest power of two within `count`, less one
    // 0: the table is not used; 1: used, cleared before searches at a console; 2 or more: used, not cleared.
    SharedValue<std::uint8_t> enabled{1};
    std::uint16_t age = 0;     // of the running search, 1..15
    int megabytes = 0;         // of the allocated table
    bool fresh = false;        // straight from the system, and no search has written to it: all 0
    bool off_by_size = false;  // a size of 0 has switched the table off
    // Has the system find memory before a search needs it; see tt_warm.
    Thread warmer;
    SharedValue<std::uint8_t> warmer_stops{0};
    std::size_t cold = 0;  // entries at the end that the warmer still has to reach. Written by it while it runs

    TranspositionTable() = default;
    ~TranspositionTable();
    TranspositionTable(const TranspositionTable &) = delete;
    TranspositionTable &operator=(const TranspositionTable &) = delete;
};

// Takes memory for a table of that size in place of the old one. The system finds memory for a page, and zeroes it, when it
// is first written to. False, and no table, when there is not enough memory. No search running.
bool tt_allocate(TranspositionTable &table, int megabytes);
// Gives the memory back; the table is as it was made.
void tt_free(TranspositionTable &table);

// Starts a thread that goes through a fresh table once, so that searches wait for less of its memory. They may run at the
// same time.
void tt_warm(TranspositionTable &table);
// Ends that thread before its time, and has it go on from there. Between them the caller may clear the table.
void tt_pause_warming(TranspositionTable &table);
void tt_resume_warming(TranspositionTable &table);

// Zeroes slice `index` of `count`. What is cold goes back to the system, with the last slice.
void tt_clear_slice(TranspositionTable &table, int index, int count);
// The next search is a new one: entries of earlier ones go first.
void tt_next_age(TranspositionTable &table);

TtHit tt_probe(const TranspositionTable &table, const Position &pos);
void tt_store(TranspositionTable &table, const Position &pos, int ply, int depth, Move move, int score, int alpha,
              int beta);
// Marks an entry as used by the running search.
void tt_refresh_age(const TranspositionTable &table, TtEntry &entry);
// Brings the entries of a position into the cache.
void tt_prefetch(const TranspositionTable &table, std::uint64_t key);

// Share of a sample of entries that this search wrote, 0..1.
double hash_fill(const TranspositionTable &table);

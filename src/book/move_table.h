// The moves of many games by position, with their results: what a book is made of.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "board/types.h"

// A move played in a position, with its results from the mover's point of view.
struct MoveRecord {
    std::uint64_t key;
    std::uint32_t wins;
    std::uint32_t losses;
    std::uint32_t draws;
    Move move;
};
static_assert(sizeof(MoveRecord) == 24);

// All distinct moves in the order first seen, found through a hash table with open addressing and linear probing: 32 to 40
// bytes for each of them, 64 for a moment when the records get more room. The table is larger than the processor's caches,
// so results wait until enough of them have come; by then the memory that they need is near.
class MoveTable {
public:
    using Result = std::uint32_t MoveRecord::*;  // which of the counts

    MoveTable() : slots_(std::size_t{1} << 16) {}

    void count(std::uint64_t key, Move move, Result result);
    // Distinct moves so far.
    std::size_t size();
    // The records that are to be kept, by ascending key, those of one key in the order first seen. Ends the use of the
    // table.
    std::vector<MoveRecord> take_sorted(bool (*is_kept)(const MoveRecord &record));

private:
    struct Waiting {
        std::uint64_t key;
        Result result;
        Move move;
    };

    void count_waiting();
    std::size_t home(std::uint64_t key, Move move) const;
    MoveRecord &find_or_add(std::uint64_t key, Move move);
    std::uint32_t &find_slot(std::uint64_t key, Move move);
    void grow();

    std::vector<MoveRecord> records_;
    std::vector<std::uint32_t> slots_;
    std::array<Waiting, 32> waiting_;
    std::size_t waiting_count_ = 0;
};

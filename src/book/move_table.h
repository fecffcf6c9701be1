// The moves of many games by position, with their results: what a book is made of.
#pragma once

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

// All distinct moves in the order first seen, found through a hash table with open addressing and linear probing.
class MoveTable {
public:
    MoveTable() : slots_(std::size_t{1} << 16) {}

    // Valid until the next call.
    MoveRecord &find_or_add(std::uint64_t key, Move move);
    std::size_t size() const { return records_.size(); }
    // The records by ascending key, those of one key in the order first seen. Ends the use of the table.
    std::vector<MoveRecord> take_sorted();

private:
    std::uint32_t &find_slot(std::uint64_t key, Move move);
    void grow();

    std::vector<MoveRecord> records_;
    std::vector<std::uint32_t> slots_;
};

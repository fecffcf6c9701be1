// The move picker: hands out the moves of a node one at a time, generated lazily in stages.
#pragma once

#include "search/search.h"

// Stage of a node's picker: one state, plus flags that are fixed for the node.
enum PickState : std::uint16_t {
    PICK_START = 0,          // nothing generated; the hash move comes first
    PICK_GENERATE = 1,       // captures and promotions are to be generated
    PICK_QS_CAPTURES = 2,    // quiescence: captures by score
    PICK_GOOD_CAPTURES = 4,  // captures by score while they look good
    PICK_SORTED = 6,         // everything left, by score
    PICK_UNSORTED = 7,       // everything left, in list order
    PICK_STATE_MASK = 15,
    PICK_HASH = 16,     // flag: return the hash move first
    PICK_FULL = 64,     // flag: all promotions, exchange-classified captures, quiet moves
    PICK_CHECKS = 128,  // flag: after the captures quiet checks and pushes to the 7th rank
};

// Victim bonus by captured type; a capture scores it less the moving piece's type.
constexpr std::array<int, 8> MVV = {210, 220, 230, 230, 240, 250, 0, 0};
inline std::int16_t capture_score(const MoveEntry &entry) {
    return static_cast<std::int16_t>(MVV[type_of(entry.captured)] - type_of(entry.piece));
}

// Next entry of the current ply's moves, or nullptr when they are exhausted. Advances the ply's current entry.
MoveEntry *pick_next(SearchThread &thread);

// Sets the list starts of the next two plies behind a terminated list.
void close_list(SearchThread &thread, int ply, MoveEntry *terminator);

// Swaps the entry with the highest score (the earliest of equals) to `first`; the list must not be empty.
void select_best(MoveEntry *first);

// Ordering scores of the root moves before the first iteration.
void score_root_moves(SearchThread &thread, MoveEntry *list);

// The move picker: hands out the moves of a node one at a time, generated lazily in stages.
#pragma once

#include "search/search.h"

// The stages of PickKind::ALL: the hash move, captures and promotions that look good, then all others with the quiet
// moves, sorted while sorting pays. Quiescence gets captures and queen promotions, with CAPTURES_AND_CHECKS quiet checks
// and pawn pushes to the 7th rank after them.

// Lets a ply's picker begin anew.
void start_picking(PlyRecord &record, PickKind kind);

// Victim bonus by captured type; a capture scores it less the moving piece's type.
constexpr std::array<int, 8> MVV = {210, 220, 230, 230, 240, 250, 0, 0};
inline std::int16_t capture_score(const MoveEntry &entry) {
    return static_cast<std::int16_t>(MVV[type_of(entry.captured)] - type_of(entry.piece));
}

// Next entry of a ply's moves, or nullptr when they are exhausted. Advances the ply's current entry.
MoveEntry *pick_next(SearchThread &thread, int ply);

// Ends a ply's list and sets the list starts of the next two plies behind it.
void close_list(SearchThread &thread, int ply, MoveEntry *end);

// Swaps the entry with the highest score (the earliest of equals) to `first`. The list goes on to `end`, where it has been
// closed, and is not empty.
void select_best(SearchThread &thread, MoveEntry *first, const MoveEntry *end);

// The same while a list is sorted, until a score comes that is not worth it.
void pick_sorted(SearchThread &thread, PlyRecord &record, MoveEntry *first);

// Ordering scores of the root moves before the first iteration.
void score_root_moves(SearchThread &thread);

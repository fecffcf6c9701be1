// Quiet moves that come too late to be searched, taken out of a list before they are picked one by one.
#pragma once

#include "board/checks.h"
#include "board/legality.h"
#include "search/search.h"

// Leaves of a ply's list, from which quiet moves are picked already, only what late-move pruning spares, in the order in
// which it would have been picked. True when a legal move that is gone would have been the last.
bool drop_late_moves(SearchThread &thread, int ply, int depth, const CheckSquares &checks, const Pins &pins);

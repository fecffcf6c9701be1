// The opening book: one move for a position, drawn at random by the weights of its entries.
#pragma once

#include "board/position.h"

// A legal book move, or NO_MOVE: no file named, not a readable regular file, position not in it, all its weights 0, or
// the move drawn is not legal. Reads the OwnBook settings; `OwnBook_Variety` shifts all weights by a share of the first
// one, from -25 % to +75 %, before the draw. Lists the moves it drew from. Main thread; the position is unchanged when
// it returns.
Move probe_book(const Position &pos);

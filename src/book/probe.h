// The opening book: one move for a position, drawn at random by the weights of its entries.
#pragma once

#include <string>

#include "board/position.h"

// A legal book move, or NO_MOVE: no file named, not a readable regular file, position not in it, all its weights 0, or
// the move drawn is not legal. `variety`, 0 to 100, shifts all weights by a share of the first one, from -25 %
// to +75 %, before the draw; 25 shifts nothing. Lists the moves it drew from. Main thread; the position is unchanged when
// it returns.
Move probe_book(Position &pos, const std::string &file_name, int variety);

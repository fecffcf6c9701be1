// Making and taking back moves.
#pragma once

#include "board/position.h"
#include "board/types.h"

// Plays a pseudo-legal move; anything else corrupts the position. Needs room in the history.
void make_move(Position &pos, Move m);
// Takes back the last move made.
void unmake_move(Position &pos);
// Passes, and takes the pass back.
void make_null_move(Position &pos);
void unmake_null_move(Position &pos);

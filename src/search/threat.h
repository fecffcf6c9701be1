// Whether a quiet move threatens something: what saves late moves from being pruned.
#pragma once

#include "board/position.h"

// Judged from the target square of a pseudo-legal quiet move of the side to move: a pawn, knight or bishop that comes to
// attack heavier pieces, a rook a queen, or any piece but the king the squares around the enemy king.
bool is_threat(const Position &pos, const MoveEntry &entry);

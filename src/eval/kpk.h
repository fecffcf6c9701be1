// King and pawn against king: who wins, for every position.
#pragma once

#include "board/types.h"

// Fills the bitbase by retrograde analysis. Once, at start-up, after the attack tables.
void build_kpk();

// Whether the pawn's side wins. Squares as they stand, `pawn_side` the pawn's colour, `side` the side to move.
bool kpk_is_won(Colour pawn_side, Square pawn, Square strong_king, Square weak_king, Colour side);

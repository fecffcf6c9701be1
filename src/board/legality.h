// Which moves are legal. Any set-up that set_fen accepts is safe here, however strange.
#pragma once

#include "board/movegen.h"
#include "board/position.h"
#include "board/types.h"

// All legal moves of the side to move, in the order of gen_all, terminated. Returns the end.
MoveEntry *gen_legal(const Position &pos, MoveEntry *list);

// Whether a move word of any origin is a legal move of the side to move.
bool is_legal_move(const Position &pos, Move m);

// Whether a pseudo-legal move leaves the own king safe; a castling king may not leave, cross or enter an attacked square.
bool is_legal(const Position &pos, Colour side, Move m);

// The same answers for many moves of one position: what they depend on is worked out once. For positions that can be
// searched.
struct Pins {
    Pins(const Position &pos, Colour side, bool in_check);
    Bitboard pinned;  // own pieces that alone stand between their king and an enemy slider
    bool in_check;    // then every move is looked at for itself
};
bool is_legal(const Position &pos, Colour side, Move m, const Pins &pins);

// Whether the side to move is mated or stalemated.
bool no_legal_moves(const Position &pos);

// Whether a move that was stored elsewhere can be played by `side` here, king safety aside.
bool is_pseudo_legal(const Position &pos, Move m, Colour side);

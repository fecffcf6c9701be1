// Pseudo-legal move generation in three groups.
//
// Generators append to the caller's buffer and return its new end; they write no terminator. Any set-up that set_fen
// accepts is safe here, however strange.
#pragma once

#include <array>

#include "board/position.h"
#include "board/types.h"

// Captures that do not promote, en passant included. With `target` only captures of that square, en-passant captures
// and king captures.
MoveEntry *gen_captures(const Position &pos, Colour side, MoveEntry *list, Square target);

// Every pawn move to the last rank; to a queen always, to the other pieces when `under`.
MoveEntry *gen_promotions(const Position &pos, Colour side, bool under, MoveEntry *list);

// Moves that neither capture nor promote, castling included. With `target` (a checking piece) only moves to the squares
// between it and the own king, king moves and castling.
MoveEntry *gen_quiets(const Position &pos, Colour side, MoveEntry *list, Square target);

inline void terminate_list(MoveEntry *end) { *end = {END_OF_LIST, NO_PIECE, NO_PIECE}; }

// A list with room for all moves of any position.
using MoveList = std::array<MoveEntry, MAX_MOVES + 1>;

// Captures, promotions and quiet moves of `side`, in that order; with a `checker` only what may answer the check.
MoveEntry *gen_moves(const Position &pos, Colour side, MoveEntry *list, Square checker);

// All pseudo-legal moves of the side to move: captures, promotions, quiet moves, terminator. Returns the end.
MoveEntry *gen_all(const Position &pos, MoveEntry *list);

// The en-passant square when a pawn can really be taken there by `side`, else the empty set: with White to move and
// ...d7d5 just played, d6 is empty and d5 holds a black pawn.
inline Bitboard en_passant_target(const Position &pos, Colour side) {
    if (pos.ep_square == NO_SQUARE || rank_of(pos.ep_square) == 0 || rank_of(pos.ep_square) == 7) return 0;
    const Square pawn = pos.ep_square - pawn_direction(side);
    const bool takeable = pos.board[pos.ep_square] == 0 && pos.board[pawn] == make_piece(opponent(side), PAWN);
    return takeable ? bit(pos.ep_square) : 0;
}

// Whether the move is an en-passant capture here: a pawn that changes files to the empty en-passant square.
inline bool is_en_passant_capture(const Position &pos, Move m) {
    const Square to = to_square(m);
    return to == pos.ep_square && pos.type_on(from_square(m)) == PAWN && pos.board[to] == 0 &&
           file_of(from_square(m)) != file_of(to);
}

// Pseudo-legal move generation in three groups, legality, and the questions asked of single moves.
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

inline void terminate_list(MoveEntry *end) { *end = {END_OF_LIST, 0, 0, 0}; }

// A list with room for all moves of any position.
using MoveList = std::array<MoveEntry, MAX_MOVES + 1>;

// All pseudo-legal moves of the side to move: captures, promotions, quiet moves, terminator. Returns the end.
MoveEntry *gen_all(const Position &pos, MoveEntry *list);

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

// 1: direct check by the piece as it stands after the move; 2: discovered check; 0: no check. Castling never counts, and
// the start square still blocks the moved piece's own line (a promotion along the king's line counts as no check), and
// so does a pawn taken en passant.
int gives_check(const Position &pos, Colour side, const MoveEntry &entry);

// gives_check for many moves of one position that can be searched.
struct CheckSquares {
    CheckSquares(const Position &pos, Colour side);
    std::array<Bitboard, 8> from;  // [type]: squares from which a piece gives check
    Bitboard discoverers;          // own pieces that alone stand between an own slider and the enemy king
};
int gives_check(const Position &pos, Colour side, const MoveEntry &entry, const CheckSquares &squares);

// Whether the move is an en-passant capture here: a pawn that changes files to the empty en-passant square.
inline bool is_en_passant_capture(const Position &pos, Move m) {
    const Square to = to_square(m);
    return to == pos.ep_square && pos.type_on(from_square(m)) == PAWN && pos.board[to] == 0 &&
           file_of(from_square(m)) != file_of(to);
}

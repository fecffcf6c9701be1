// Which moves give check, and who gives it.
#pragma once

#include <array>

#include "board/attacks.h"
#include "board/position.h"
#include "board/types.h"

// The least valuable piece that gives check to the king of `side`, or NO_SQUARE.
inline Square checker_of(const Position &pos, Colour side) {
    return least_attacker(pos, pos.king_square[side], opponent(side), pos.occupied());
}

// 1: direct check by the piece as it stands after the move; 2: discovered check; 0: no check. Castling never counts, and
// the start square still blocks the moved piece's own line (a promotion along the king's line counts as no check), and
// so does a pawn taken en passant.
int gives_check(const Position &pos, Colour side, const MoveEntry &entry);

// Whether the move is of a kind whose checks gives_check may not see.
inline bool may_check_unseen(const Position &pos, const MoveEntry &entry) {
    const PieceType type = type_of(entry.piece);
    if (type == KING) return true;
    return type == PAWN && ((entry.move & PROMOTE_ANY) != 0 || to_square(entry.move) == pos.ep_square);
}

// gives_check for many moves of one position that can be searched.
struct CheckSquares {
    CheckSquares(const Position &pos, Colour side);
    std::array<Bitboard, 8> from;  // [type]: squares from which a piece gives check
    Bitboard discoverers;          // own pieces that alone stand between an own slider and the enemy king
};
int gives_check(const Position &pos, Colour side, const MoveEntry &entry, const CheckSquares &squares);

#include "board/checks.h"

namespace {

// Type of the piece after the move.
PieceType type_after(const MoveEntry &entry) {
    if ((entry.move & PROMOTE_BISHOP) != 0) return BISHOP;
    if ((entry.move & PROMOTE_KNIGHT) != 0) return KNIGHT;
    if ((entry.move & PROMOTE_QUEEN) != 0) return QUEEN;
    return (entry.move & PROMOTE_ROOK) != 0 ? ROOK : type_of(entry.piece);
}

bool direct_check(const Position &pos, Colour side, PieceType type, Square to, Square king) {
    const bool clear = (between(to, king) & pos.occupied()) == 0;
    const bool diagonal = (bishop_span(to) & bit(king)) != 0;
    const bool straight = (rook_span(to) & bit(king)) != 0;
    switch (type) {
    case PAWN: return (pawn_attacks(side, to) & bit(king)) != 0;
    case KNIGHT: return (knight_attacks(to) & bit(king)) != 0;
    case BISHOP: return diagonal && clear;
    case ROOK: return straight && clear;
    case QUEEN: return (diagonal || straight) && clear;
    default: return false;
    }
}

bool any_clear_line(Bitboard sliders, Square king, Bitboard occupied) {
    while (sliders != 0)
        if ((between(pop_lsb(sliders), king) & occupied) == 0) return true;
    return false;
}

}  // namespace

CheckSquares::CheckSquares(const Position &pos, Colour side) {
    const Square king = pos.king_square[opponent(side)];
    const Bitboard occupied = pos.occupied();
    from[NO_TYPE] = from[KING] = from[7] = 0;
    from[PAWN] = pawn_attacks(opponent(side), king);
    from[KNIGHT] = knight_attacks(king);
    from[BISHOP] = bishop_attacks(king, occupied);
    from[ROOK] = rook_attacks(king, occupied);
    from[QUEEN] = from[BISHOP] | from[ROOK];
    discoverers = sole_blockers(pos, king, side) & pos.all(side);
}

int gives_check(const Position &pos, Colour side, const MoveEntry &entry, const CheckSquares &squares) {
    if ((squares.discoverers & bit(from_square(entry.move))) != 0) return gives_check(pos, side, entry);
    return (squares.from[type_after(entry)] & bit(to_square(entry.move))) != 0 ? 1 : 0;
}

int gives_check(const Position &pos, Colour side, const MoveEntry &entry) {
    const Square from = from_square(entry.move);
    const Square to = to_square(entry.move);
    const Square king = pos.king_square[opponent(side)];
    if (has_sliders(pos.material[side])) {
        const Bitboard occupied = (pos.occupied() & ~bit(from)) | bit(to);
        const Bitboard queens = pos.of(side, QUEEN);
        // A slider behind the start square on a line through the king: with rook e1, bishop e4 and king e8, every bishop
        // move uncovers the rook.
        if ((rook_span(king) & bit(from)) != 0 &&
            any_clear_line((pos.of(side, ROOK) | queens) & rook_span(king) & rook_span(from), king, occupied))
            return 2;
        if ((bishop_span(king) & bit(from)) != 0 &&
            any_clear_line((pos.of(side, BISHOP) | queens) & bishop_span(king) & bishop_span(from), king, occupied))
            return 2;
    }
    return direct_check(pos, side, type_after(entry), to, king) ? 1 : 0;
}

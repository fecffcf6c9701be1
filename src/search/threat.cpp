#include "search/threat.h"

#include "board/attacks.h"

namespace {

// King-zone test: some square next to the enemy king comes into the line of the piece on `to` and is attacked by its side
// once the piece has left `from`. `span`: empty-board lines of one kind; `same_kind`: own pieces of that line kind, looked
// through. With a rook moving a1-f1 against a king on g8 and an own queen on f7 square f8 would be such a square.
bool reaches_king_zone(const Position &pos, Colour side, Square from, Square to, const SquareTable &span,
                       Bitboard same_kind) {
    const Square king = pos.king_square[opponent(side)];
    const Bitboard blockers = pos.occupied() & ~same_kind;
    Bitboard zone = king_attacks(king) & span[to] & ~span[from] & ~bit(from);
    while (zone != 0) {
        const Square target = pop_lsb(zone);
        if ((between(to, target) & blockers) != 0) continue;
        // The moving piece is lifted off its start square.
        if (square_attacked(pos, target, side, pos.occupied() ^ bit(from), ~bit(from))) return true;
    }
    return false;
}

// Whether one of the targets comes into the line of a piece moving to `to`, all squares between being empty.
bool attacks_along(const Position &pos, Square from, Square to, const SquareTable &span, Bitboard targets) {
    targets &= span[to] & ~span[from];
    const Bitboard occupied = pos.occupied();
    while (targets != 0)
        if ((between(to, pop_lsb(targets)) & occupied) == 0) return true;
    return false;
}

}  // namespace

bool is_threat(const Position &pos, const MoveEntry &entry) {
    const Colour side = pos.side;
    const Square from = from_square(entry.move);
    const Square to = to_square(entry.move);
    const Colour enemy = opponent(side);
    const Bitboard zone = king_attacks(pos.king_square[enemy]);
    const Bitboard queens = pos.of(enemy, QUEEN);
    const Bitboard heavy = queens | pos.of(enemy, ROOK);
    const SquareTable &diagonals = attack_tables.bishop_span;
    const SquareTable &lines = attack_tables.rook_span;
    const Bitboard own_diagonal = pos.of(side, BISHOP) | pos.of(side, QUEEN);
    const Bitboard own_straight = pos.of(side, ROOK) | pos.of(side, QUEEN);
    switch (type_of(entry.piece)) {
    case PAWN: return (pawn_attacks(side, to) & (heavy | pos.of(enemy, KNIGHT) | pos.of(enemy, BISHOP) | zone)) != 0;
    case KNIGHT: return (knight_attacks(to) & (heavy | zone)) != 0;
    case BISHOP:
        return attacks_along(pos, from, to, diagonals, heavy) ||
               reaches_king_zone(pos, side, from, to, diagonals, own_diagonal);
    case ROOK:
        return attacks_along(pos, from, to, lines, queens) ||
               reaches_king_zone(pos, side, from, to, lines, own_straight);
    case QUEEN:
        return reaches_king_zone(pos, side, from, to, lines, own_straight) ||
               reaches_king_zone(pos, side, from, to, diagonals, own_diagonal);
    default: return false;
    }
}
